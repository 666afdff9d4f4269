// The DB manager's answers as texts: framing, rows, IDs; and the kinds of statement.
#include "libenvdb/dbanswer.h"

#include <gtest/gtest.h>

#include <string>

#include "libenvdb/db_request.h"
#include "support/catching.h"

namespace {

using libenvdb::AnswerCollector;
using State = AnswerCollector::State;

TEST(AnswerCollector, DoesNotCareWhereAnAnswerIsCut) {
    const std::string payload = "Response: FSMC-000\nNum rows: 2\nFields   : 'ID'\nRow 00000: '7'\n";
    const std::string lengthLine = "response PAYLOAD length: " + std::to_string(payload.size());
    for (const std::string between : {"", "Resp", "padding "}) {
        const std::string answer = lengthLine + "\n" + between + payload;
        AnswerCollector byByte;
        for (std::size_t cut = 0; cut < answer.size(); ++cut) {
            AnswerCollector collector;
            ASSERT_EQ(collector.add(answer.substr(0, cut)), State::incomplete) << cut;
            ASSERT_EQ(collector.add(answer.substr(cut)), State::complete) << cut;
            EXPECT_EQ(collector.lengthLine() + "\n" + collector.payload(), lengthLine + "\n" + payload) << cut;
            EXPECT_EQ(byByte.add(answer.substr(cut, 1)), cut + 1 < answer.size() ? State::incomplete : State::complete);
        }
        EXPECT_EQ(byByte.payload(), payload);
    }
}

TEST(AnswerCollector, SeesFromTheFirstBytesWhatIsNoAnswer) {
    for (const std::string text : cases(__FILE__, "malformed"))
        EXPECT_EQ(AnswerCollector().add(text), State::malformed) << text;
    EXPECT_EQ(AnswerCollector().add("Response payload length: " + std::string(1000, '0')), State::malformed);
    // Whoever announces 20 bytes and sends 20 without an answer in them is not waited for, but for a tag that has
    // begun.
    const std::string announced = "Response payload length: 20\n";
    EXPECT_EQ(AnswerCollector().add(announced + std::string(19, 'x')), State::incomplete);
    EXPECT_EQ(AnswerCollector().add(announced + std::string(20, 'x')), State::malformed);
    EXPECT_EQ(AnswerCollector().add(announced + std::string(17, 'x') + "Resp"), State::incomplete);
    EXPECT_EQ(AnswerCollector().add(announced + std::string(20, 'x') + "Response: "), State::malformed);
    AnswerCollector noTag;  // a service that never comes to the point must not fill the memory
    noTag.add("Response payload length: 20\n");
    int megabytes = 0;
    while (noTag.add(std::string(1 << 20, 'x')) == State::incomplete && megabytes < 100) ++megabytes;
    EXPECT_LT(megabytes, 100);
}

// "column|column|;value|value|;..." of an answer, or the error.
std::string table_of(const std::string& payload) {
    std::string table;
    const auto answer = libenvdb::parse_select(payload, table);
    if (!answer) return table;
    for (const auto column : answer->columns) table += std::string(column) + "|";
    for (const auto& row : answer->rows) {
        table += ";";
        for (const auto value : row) table += std::string(value) + "|";
    }
    return table;
}

TEST(ParseSelect, GoesByTheLengthsOfLabelsAndByCommas) {
    for (const auto& c : cases(__FILE__, "select")) EXPECT_EQ(table_of(c[1]), c[2]) << c[0];
    std::string text;
    for (const auto& c : cases(__FILE__, "insert"))
        EXPECT_EQ(libenvdb::parse_insert_id(c[0].get<std::string>(), text),
                  c[1].is_null() ? std::nullopt : std::optional<long>(c[1]))
            << c;
}

TEST(ParseSelect, HoldsNoMoreThanTheAnswerHasBytesFor) {
    std::string header = "'C'";
    for (int i = 1; i < 600; ++i) header += ",'C'";
    const std::string fields = "\nFields   : " + header + "\n";
    std::string error;
    const auto wide = libenvdb::parse_select("Response: FSMC-000\nNum rows: 2" + fields + "Row 00000: '1'\n", error);
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->columns.size(), 512U);
    const std::string empty = "Response: FSMC-000\nNum rows: 100000" + fields + std::string(99'999, '\n');
    const auto rows = libenvdb::parse_select(empty, error);
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->rows.size(), empty.size() / 512);
}

TEST(ValidateQuery, LastKindInTheListWinsWhereverItStands) {
    libenvdb::db_request request(1, "SELECT 1");
    EXPECT_STREQ(request.get_last_error(), "db_request::db_request error database service port <1> unsupported");
    for (const auto& c : cases(__FILE__, "kinds")) {
        int type = -1;
        EXPECT_EQ(request.validate_query(c[0].get<std::string>().c_str(), &type), c[1] == 0 ? -1 : 0);
        EXPECT_EQ(type, c[1]) << c;
    }
    EXPECT_STREQ(request.get_last_error(),
                 "db_request::validate_query error query <VACUUM> is not in recognizable format");
}

}  // namespace
