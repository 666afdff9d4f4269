// Statements on their way to a DB manager and back.
#include "libenvdb/db_request.h"

#include <string>

#include "cbase/cstylecode_sockets.h"
#include "libenvdb/dbmanagerutil.h"
#include "support/services.h"

namespace {

using libenvdb::db_request;
using libenvdb::dbManagerPort;

class DbRequest : public WithServices {};

TEST_F(DbRequest, IsFramedAndReadAsRows) {
    const db_request answer(dbManagerPort, "SELECT ID, NAME, ID FROM KOVAD_OBJECT WHERE ID IN (4, 5);\n");
    EXPECT_EQ(takeRequests(), Texts{"Request: DML-SQL\nType: SELECT\nStatement payload length: 58\nStatement: "
                                    "SELECT ID, NAME, ID FROM KOVAD_OBJECT WHERE ID IN (4, 5);\n\n\n"});
    EXPECT_EQ(answer.get_last_error(), nullptr);
    EXPECT_EQ(answer.get_rows_num(), 2);
    EXPECT_EQ(answer.get_fields_num(), 3);
    EXPECT_EQ(answer.fieldvalues.size(), 6U);
    EXPECT_EQ(answer.rows.begin()->second.Size(), 2);  // one of two columns with the same name
    EXPECT_STREQ(answer.rows.find(1)->second.value("NAME"), "bruno");
    EXPECT_EQ(db_request(dbManagerPort, "INSERT INTO KOVAD_OBJECT (NAME) VALUES ('a');").get_last_insert_id(), 101);
}

TEST_F(DbRequest, LongStatementsAndAnswersTravelWhole) {
    const std::string text(300'000, 'x');
    const std::string statement = "SELECT '" + text + "' AS A, '" + text + "' AS B;";
    const db_request answer(dbManagerPort, statement.c_str());
    EXPECT_NE(takeRequests().at(0).find(statement), std::string::npos);
    ASSERT_EQ(answer.get_rows_num(), 1);
    EXPECT_EQ(answer.rows.begin()->second.value("B"), text);
}

TEST_F(DbRequest, ErrorsAreSeenInAnswersToASelectOnly) {
    const auto outcome = [](const std::string& statement) {
        const db_request request(dbManagerPort, statement.c_str());
        return std::string(request.get_last_error() == nullptr ? "success" : request.get_last_error());
    };
    script("INSERT", "Response: LastID '99999999999'\n");
    for (const std::string& statement :
         {std::string("SELECT x FROM nowhere;"), std::string("UPDATE nowhere SET A='1';"),
          std::string("UPDATE nowhere SET A='selected';"), std::string("INSERT INTO T VALUES ('1');")})
        step(statement, [&] { return outcome(statement); });
    EXPECT_EQ(outcome("VACUUM " + std::string(1000, 'x')).size(), 255U);
}

TEST_F(DbRequest, WhatCannotBeExchangedGivesItsCode) {
    const lab::RequestThread other(
        make_internet_socket(45169, 1), [](const std::string& received) { return received.ends_with("\n\n"); },
        [](int peer, const std::string& request) {
            const bool update = request.find("UPDATE") != std::string::npos;
            send_pieces(peer, {update ? "Response payload length: 20\n" : "junk"});
        });
    const auto request = [](int port, const char* function, const char* type) {
        char* out[4] = {};
        return dbmanager_socket_request(port, function, type, "9", "SELECT 1;", &out[0], &out[1], &out[2], &out[3]);
    };
    step("function", [&] { return request(45169, "DDL", "SELECT"); });
    step("type", [&] { return request(45169, "ddl-sql", "DROP"); });
    step("nonsense", [&] { return request(45169, "DML-SQL", "SELECT"); });
    step("cut short", [&] { return request(45169, "DML-SQL", "UPDATE"); });
    messages_of([&] { EXPECT_EQ(request(45170, "DML-SQL", "SELECT"), 308); });  // nobody there
}

}  // namespace
