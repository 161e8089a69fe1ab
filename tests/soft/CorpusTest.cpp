#include "CorpusReplay.h"

// Each is its fuzzer's LLVMFuzzerTestOneInput, which the build renames.
extern "C" int runSoftCalls(const std::uint8_t *data, std::size_t size);
extern "C" int runSoftDifference(const std::uint8_t *data, std::size_t size);

namespace pyrelux::fuzz {
namespace {

class CallsCorpus : public Corpus {};
TEST_P(CallsCorpus, IsAnErrorOrADrawing) { EXPECT_EQ(replay(runSoftCalls), 0); }
INSTANTIATE_TEST_SUITE_P(Files, CallsCorpus, ::testing::ValuesIn(filesOf("SoftCallsFuzz")), nameOf);

class DifferenceCorpus : public Corpus {};
TEST_P(DifferenceCorpus, IsDrawnAsByTheReference) { EXPECT_EQ(replay(runSoftDifference), 0); }
INSTANTIATE_TEST_SUITE_P(Files, DifferenceCorpus, ::testing::ValuesIn(filesOf("SoftDifferenceFuzz")), nameOf);

}  // namespace
}  // namespace pyrelux::fuzz
