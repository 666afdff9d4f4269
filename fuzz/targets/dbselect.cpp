#include <algorithm>

#include "fuzztarget.h"
#include "libenvdb/dbanswer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string payload = fuzz::bytes_of(data, size);
    std::string reason;
    const auto answer = libenvdb::parse_select(payload, reason);
    fuzz::require(answer.has_value() == reason.empty(), "an answer that is refused has a reason");
    if (!answer) return 0;
    const auto lines = static_cast<std::size_t>(std::count(payload.begin(), payload.end(), '\n'));
    fuzz::require(answer->rows.size() <= lines, "there are no more rows than lines");
    for (const auto& row : answer->rows)
        fuzz::require(row.size() == answer->columns.size(), "a row has a value for each column");
    return 0;
}
