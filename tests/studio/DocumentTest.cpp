#include "Document.h"

#include <random>

#include "SampleParameters.h"

namespace pyrelux::studio {
namespace {

const std::vector<host::ParameterDeclaration> &declarations() {
  static const auto all = host::test::sampleDeclarations();
  return all;
}

std::string text(const Document &document) { return textOf(document.content(), declarations()); }

/// Contents that differ by chance from those before.
class Chance {
 public:
  explicit Chance(unsigned seed) : engine_(seed) {}

  int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(engine_); }

  Content next(Content content) {
    for (int count = 1 + below(3); count > 0; --count) change(content);
    return content;
  }

 private:
  void change(Content &content) {
    project::Scene &scene = content.project.scene;
    switch (below(7)) {
      case 0:
        content.input =
            below(3) ? std::optional<std::string>("logo" + std::to_string(below(5)) + ".png") : std::nullopt;
        return;
      case 1:
        content.testPattern = below(2) ? std::optional<std::string>("bars") : std::nullopt;
        return;
      case 2:
        scene.title.text = below(4) ? std::optional<std::string>("Text\n" + std::to_string(below(9))) : std::nullopt;
        return;
      case 3:
        scene.seed = below(4) ? std::optional<std::int64_t>(below(1000)) : std::nullopt;
        return;
      case 4:
        scene.canvas = below(4) ? std::optional<PictureSize>(PictureSize{below(500) + 1, 90}) : std::nullopt;
        return;
      case 5:
        scene.loops = below(3) ? std::optional<bool>(below(2) == 1) : std::nullopt;
        return;
      default:
        changeParameter(content.project);
    }
  }

  void changeParameter(project::Project &project) {
    const host::ParameterDeclaration &parameter =
        declarations()[static_cast<std::size_t>(below(static_cast<int>(declarations().size())))];
    if (parameter.kind == host::ParameterKind::Custom) return;
    project.parameters.erase(parameter.id);
    project.timed.erase(parameter.id);
    if (below(4) == 0) return;
    std::vector<host::Keyframe> keyframes;
    for (int count = 1 + below(3); count > 0; --count)
      keyframes.push_back(
          {static_cast<double>(keyframes.size()) * 7.5, parameter.defaultValue, static_cast<host::Ease>(below(5)), {}});
    if (keyframes.size() == 1) keyframes = host::constant(parameter.defaultValue);
    if (keyframes.size() > 1 && below(2)) project.timed.insert(parameter.id);
    project.parameters[parameter.id] = keyframes;
  }

  std::mt19937 engine_;
};

TEST(Document, IsTheSameToTheByteAfterAllIsUndoneAndRedone) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    Chance chance(seed);
    Document document(chance.next({}));
    std::vector<std::string> states{text(document)};
    for (int step = 0; step < 40; ++step) {
      const Content content = chance.next(document.content());
      document.become(content, "Step");
      ASSERT_EQ(text(document), textOf(content, declarations()));
      if (text(document) != states.back()) states.push_back(text(document));
      if (chance.below(6) == 0 && states.size() > 1) {
        ASSERT_TRUE(document.undo());
        states.pop_back();
        ASSERT_EQ(text(document), states.back());
      }
    }
    for (std::size_t at = states.size() - 1; at > 0; --at) {
      ASSERT_TRUE(document.undo());
      ASSERT_EQ(text(document), states[at - 1]);
    }
    EXPECT_FALSE(document.undo());
    // The last step may have been undone above, and can be redone all the same.
    for (std::size_t at = 1; at < states.size(); ++at) {
      ASSERT_TRUE(document.redo());
      ASSERT_EQ(text(document), states[at]);
    }
  }
}

TEST(Document, MergesOneGestureIntoOneStepThatLeadsBackToItsBeginning) {
  for (unsigned seed = 0; seed < 30; ++seed) {
    Chance chance(seed);
    Document document(chance.next({}));
    const std::string before = text(document);
    for (int step = 0; step < 12; ++step) document.become(chance.next(document.content()), "Drag", Gesture{1, 7});
    const std::string after = text(document);
    if (before == after) continue;
    ASSERT_TRUE(document.undo());
    EXPECT_EQ(text(document), before);
    EXPECT_EQ(document.undoName(), std::nullopt);
    ASSERT_TRUE(document.redo());
    EXPECT_EQ(text(document), after);
  }
}

Content withSeed(std::int64_t seed) {
  Content content;
  content.project.scene.seed = seed;
  return content;
}

TEST(Document, KeepsGesturesOfOthersApart) {
  Document document;
  document.become(withSeed(1), "One", Gesture{1, 1});
  document.become(withSeed(2), "Other page", Gesture{2, 1});
  document.become(withSeed(3), "Same page again", Gesture{1, 1});
  document.become(withSeed(4), "Next gesture", Gesture{1, 2});
  for (const std::int64_t seed : {3, 2, 1}) {
    ASSERT_TRUE(document.undo());
    EXPECT_EQ(document.content().project.scene.seed, seed);
  }
  ASSERT_TRUE(document.undo());
  EXPECT_EQ(document.content().project.scene.seed, std::nullopt);
}

TEST(Document, BeginsAStepOfItsOwnAfterAnUndo) {
  Document document;
  document.become(withSeed(1), "Drag", Gesture{1, 1});
  document.become(withSeed(2), "Text");
  document.undo();
  document.become(withSeed(3), "Drag", Gesture{1, 1});
  ASSERT_TRUE(document.undo());
  EXPECT_EQ(document.content().project.scene.seed, 1);
}

TEST(Document, NamesTheStepsThatWouldBeUndoneAndRedone) {
  Document document;
  EXPECT_EQ(document.undoName(), std::nullopt);
  document.become(withSeed(1), "One");
  document.become(withSeed(2), "Two");
  EXPECT_EQ(document.undoName(), "Two");
  EXPECT_EQ(document.redoName(), std::nullopt);
  document.undo();
  EXPECT_EQ(document.undoName(), "One");
  EXPECT_EQ(document.redoName(), "Two");
  document.become(withSeed(9), "Another");
  EXPECT_EQ(document.redoName(), std::nullopt);
}

TEST(Document, IsDirtyUntilItIsWhatWasSaved) {
  Document document;
  EXPECT_FALSE(document.isDirty());
  document.become(withSeed(1), "One");
  EXPECT_TRUE(document.isDirty());
  document.markSaved("fire.json");
  EXPECT_FALSE(document.isDirty());
  EXPECT_EQ(document.content().file, "fire.json");
  document.become(withSeed(2), "Two");
  document.undo();
  EXPECT_FALSE(document.isDirty());
  document.undo();
  EXPECT_TRUE(document.isDirty());
  document.redo();
  EXPECT_FALSE(document.isDirty());
}

TEST(Document, IsDirtyWhenAGestureGoesOnAfterItWasSaved) {
  Document document;
  document.become(withSeed(1), "Drag", Gesture{1, 1});
  document.markSaved("fire.json");
  Content content = document.content();
  content.project.scene.seed = 2;
  document.become(content, "Drag", Gesture{1, 1});
  EXPECT_TRUE(document.isDirty());
}

TEST(Document, DoesNotCountAChangeToTheSame) {
  Document document(withSeed(1));
  document.become(withSeed(1), "Nothing");
  EXPECT_EQ(document.undoName(), std::nullopt);
}

TEST(Document, IsReadAsItWasWritten) {
  Chance chance(5);
  Content content;
  for (int step = 0; step < 50; ++step) {
    content = chance.next(content);
    const std::string written = textOf(content, declarations());
    EXPECT_EQ(textOf(parseContent(written, declarations()), declarations()), written);
  }
}

TEST(Document, IsWrittenWithNamesOfFilesThatAreNoText) {
  Content content;
  content.input = "caf\xe9.png";
  content.project.scene.seed = 3;
  EXPECT_EQ(parseContent(textOf(content, declarations()), declarations()).project.scene.seed, 3);
}

TEST(Document, IsNotReadFromWhatIsNone) {
  for (const char *wrong : {"", "{}", "[]", "{\"project\": 1}", "{\"project\": \"{}\"}"})
    EXPECT_THROW(parseContent(wrong, declarations()), project::ProjectError) << wrong;
}

}  // namespace
}  // namespace pyrelux::studio
