#include <algorithm>

#include "fuzztarget.h"
#include "libenvdb/dbanswer.h"

using State = libenvdb::AnswerCollector::State;

namespace {

constexpr std::size_t mostPieces = 16;

// Feeds `answer` in pieces of the given sizes, then the rest, as far as it is taken.
State feed(libenvdb::AnswerCollector& collector, std::string_view answer, std::string_view sizes) {
    State state = State::incomplete;
    for (const char size : sizes) {
        const std::string_view piece = answer.substr(0, static_cast<unsigned char>(size));
        state = collector.add(piece);
        if (state != State::incomplete) return state;
        answer.remove_prefix(piece.size());
    }
    return collector.add(answer);
}

}  // namespace

// The first byte says how many of the next ones are sizes of pieces; then comes the answer.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input = fuzz::bytes_of(data, size);
    if (input.empty()) return 0;
    const std::size_t count = std::min(static_cast<unsigned char>(input[0]) % mostPieces, input.size() - 1);
    const std::string_view sizes = std::string_view(input).substr(1, count);
    const std::string_view answer = std::string_view(input).substr(1 + count);

    libenvdb::AnswerCollector whole;
    const State state = whole.add(answer);
    libenvdb::AnswerCollector pieced;
    const State pieceState = feed(pieced, answer, sizes);
    // An overlong length line is given up as soon as it is seen to be one.
    constexpr std::size_t longestLengthLine = 64;
    if (pieceState == State::complete || (state == State::complete && whole.lengthLine().size() < longestLengthLine)) {
        fuzz::require(pieceState == state, "where an answer is cut does not change what it is");
        fuzz::require(whole.lengthLine() == pieced.lengthLine(), "nor its length line");
        fuzz::require(whole.payload().rfind(pieced.payload(), 0) == 0, "nor its payload");
    }
    const std::string payload = pieced.payload();
    std::string text;
    libenvdb::parse_select(payload, text);
    libenvdb::parse_insert_id(payload, text);
    return 0;
}
