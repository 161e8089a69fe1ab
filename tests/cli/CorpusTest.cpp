#include "CorpusReplay.h"

// Named so by the build: each is its fuzzer's LLVMFuzzerTestOneInput.
extern "C" int runFrameList(const std::uint8_t *data, std::size_t size);
extern "C" int runProject(const std::uint8_t *data, std::size_t size);
extern "C" int runMediaReader(const std::uint8_t *data, std::size_t size);

namespace pyrelux::fuzz {
namespace {

class FrameListCorpus : public Corpus {};
TEST_P(FrameListCorpus, IsRefusedOrSound) { EXPECT_EQ(replay(runFrameList), 0); }
INSTANTIATE_TEST_SUITE_P(Files, FrameListCorpus, ::testing::ValuesIn(filesOf("FrameListFuzz")), nameOf);

class ProjectCorpus : public Corpus {};
TEST_P(ProjectCorpus, IsRefusedOrWrittenAsItWasMeant) { EXPECT_EQ(replay(runProject), 0); }
INSTANTIATE_TEST_SUITE_P(Files, ProjectCorpus, ::testing::ValuesIn(filesOf("ProjectFuzz")), nameOf);

class MediaReaderCorpus : public Corpus {};
TEST_P(MediaReaderCorpus, IsRefusedOrRead) { EXPECT_EQ(replay(runMediaReader), 0); }
INSTANTIATE_TEST_SUITE_P(Files, MediaReaderCorpus, ::testing::ValuesIn(filesOf("MediaReaderFuzz")), nameOf);

}  // namespace
}  // namespace pyrelux::fuzz
