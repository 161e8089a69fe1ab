#include "CorpusReplay.h"

// Named so by the build: its fuzzer's LLVMFuzzerTestOneInput.
extern "C" int runStudioMessages(const std::uint8_t *data, std::size_t size);

namespace pyrelux::fuzz {
namespace {

class StudioMessagesCorpus : public Corpus {};
TEST_P(StudioMessagesCorpus, AreRefusedOrTaken) { EXPECT_EQ(replay(runStudioMessages), 0); }
INSTANTIATE_TEST_SUITE_P(Files, StudioMessagesCorpus, ::testing::ValuesIn(filesOf("StudioMessagesFuzz")), nameOf);

}  // namespace
}  // namespace pyrelux::fuzz
