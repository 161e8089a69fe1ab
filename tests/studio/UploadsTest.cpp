#include "Uploads.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace pyrelux::studio {
namespace {

namespace fs = std::filesystem;

TEST(UploadName, IsTheLastPartWithoutPlacesForNumbers) {
  EXPECT_EQ(uploadName("logo.PNG"), "logo.PNG");
  EXPECT_EQ(uploadName("../../etc/logo.png"), "logo.png");
  EXPECT_EQ(uploadName("C:\\art\\logo.svg"), "logo.svg");
  EXPECT_EQ(uploadName("fire_####%d.mov"), "fire______d.mov");
}

TEST(UploadName, IsNoneForWhatCantBeUsed) {
  for (const std::string &wrong :
       {std::string(), std::string("run.sh"), std::string("page.html"), std::string(".png"), std::string("logo"),
        std::string("a\nb.png"), std::string("a/"), std::string("logo.png\0.sh", 12), std::string(300, 'a') + ".png"})
    EXPECT_EQ(uploadName(wrong), std::nullopt) << wrong;
}

class UploadTest : public testing::Test {
 protected:
  UploadTest() {
    char name[] = "/tmp/pyrelux-uploads-XXXXXX";
    top_ = mkdtemp(name);
  }
  ~UploadTest() override { fs::remove_all(top_); }

  std::string folder() const { return (top_ / "uploads").string(); }
  std::string read(const std::string &name) const {
    std::ostringstream text;
    text << std::ifstream(folder() + "/" + name).rdbuf();
    return text.str();
  }
  std::size_t files() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()));
  }

  fs::path top_;
};

TEST_F(UploadTest, HasItsNameOnceItIsComplete) {
  Upload upload(folder(), "logo.png");
  upload.write("abc", 3);
  EXPECT_FALSE(fs::exists(folder() + "/logo.png"));
  upload.write("def", 3);
  EXPECT_EQ(upload.finish(), "logo.png");
  EXPECT_EQ(read("logo.png"), "abcdef");
}

TEST_F(UploadTest, NeverReplacesAnother) {
  for (const char *expected : {"logo.png", "logo-2.png", "logo-3.png"}) {
    Upload upload(folder(), "logo.png");
    upload.write(expected, 4);
    EXPECT_EQ(upload.finish(), expected);
  }
  EXPECT_EQ(files(), 3u);
}

TEST_F(UploadTest, LeavesNothingUnlessItIsComplete) {
  {
    Upload upload(folder(), "logo.png");
    upload.write("abc", 3);
  }
  EXPECT_EQ(files(), 0u);
}

TEST_F(UploadTest, DoesNotFollowALinkToAnotherFolder) {
  fs::create_directory(top_ / "outside");
  fs::create_directory_symlink(top_ / "outside", folder());
  EXPECT_THROW(Upload(folder(), "logo.png"), std::runtime_error);
}

}  // namespace
}  // namespace pyrelux::studio
