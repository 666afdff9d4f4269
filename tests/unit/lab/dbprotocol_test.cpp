// DBManager's text protocol, over a real SQLite file where an answer needs one.
#include "dbmanager/dbprotocol.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "dbmanager/builtinsql.h"

namespace {

using lab::DbParsed;

std::string request_for(const std::string& statement) {
    return "Request: DML-SQL\nType: SELECT\nStatement payload length: " + std::to_string(statement.size()) +
           "\nStatement: " + statement + "\n\n";
}

TEST(DbProtocol, RequestIsCompleteOnlyWithItsEmptyLine) {
    const std::string text = request_for("SELECT 1;\n");
    lab::DbRequest request;
    for (size_t length = 0; length < text.size(); ++length) {
        EXPECT_EQ(lab::parse_db_request(text.substr(0, length), request), DbParsed::incomplete) << length;
    }
    ASSERT_EQ(lab::parse_db_request(text, request), DbParsed::complete);
    EXPECT_EQ(request.statement, "SELECT 1;\n");
}

TEST(DbProtocol, WrongLengthsAreMalformed) {
    for (const char* length : {"-1", "", "3x", "99999999999999999999", "8"}) {
        lab::DbRequest request;
        const std::string text = "Request: DML-SQL\nType: SELECT\nStatement payload length: " + std::string(length) +
                                 "\nStatement: SELECT 1;\n\n";
        EXPECT_EQ(lab::parse_db_request(text, request), DbParsed::malformed) << length;
    }
}

class DbAnswers : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::remove(path_);
        ASSERT_EQ(lab::create_database(path_, {lab::builtin_schema, lab::builtin_home}), "");
    }
    void TearDown() override { std::filesystem::remove(path_); }
    std::string payload(const std::string& type, const std::string& sql) {
        lab::Database database(path_);
        EXPECT_TRUE(database.good()) << database.problem();
        return lab::compose_db_payload(type, database.run(sql));
    }

  private:
    std::string path_ = testing::TempDir() + "dbprotocol_test." + std::to_string(getpid()) + ".db";
};

TEST_F(DbAnswers, RowsComeQuotedBehindLabelsOfFixedLength) {
    EXPECT_EQ(payload("SELECT", "SELECT ID, NAME, NULL AS GONE FROM KOVAD_OBJECT WHERE ID='20';\n"),
              "Response: FSMC-000\nNum rows: 2\nFields   : 'ID','NAME','GONE'\nRow 00000: '20','Kitchen light',''\n");
    EXPECT_EQ(payload("SELECT", "SELECT ID FROM KOVAD_OBJECT WHERE ID='999'"),
              "Response: FSMC-000\nNum rows: 1\nFields   : 'ID'\n");
}

TEST_F(DbAnswers, InsertFollowedBySelectAnswersTheSelect) {
    EXPECT_EQ(payload("SELECT", "INSERT INTO KOVAD_OBJECT (NAME) VALUES ('n'); SELECT last_insert_rowid() AS ID;\n"),
              "Response: FSMC-000\nNum rows: 2\nFields   : 'ID'\nRow 00000: '101'\n");
    EXPECT_EQ(payload("INSERT", "INSERT INTO KOVAD_OBJECT (NAME) VALUES ('n')"), "Response: LastID '102'\n");
}

TEST_F(DbAnswers, UpdateTypedSelectIsCarriedOutAndHasNotEvenAHeader) {
    EXPECT_EQ(payload("SELECT", "UPDATE KOVAD_OBJECT SET NAME='select' WHERE ID='20'"),
              "Response: FSMC-000\nNum rows: 0\n");
    EXPECT_NE(payload("SELECT", "SELECT NAME FROM KOVAD_OBJECT WHERE ID='20'").find("'select'"), std::string::npos);
}

TEST_F(DbAnswers, ErrorsStandWhereTheClientExpectsANumber) {
    EXPECT_EQ(payload("SELECT", "SELECT * FROM NOPE"), "Response: FSMC-001\nNum rows: no such table: NOPE\n");
    EXPECT_EQ(payload("INSERT", "INSERT INTO NOPE VALUES (1)"), "Response: Error: no such table: NOPE\n");
    EXPECT_EQ(payload("UPDATE", "UPDATE NOPE SET A=1"), "Response: FSMC-001\nno such table: NOPE\n");
}

TEST(DbProtocol, AnnouncedLengthCanBeWrongOnPurpose) {
    EXPECT_EQ(lab::compose_db_answer("12345", 0), "Response payload length: 5\n12345");
    EXPECT_EQ(lab::compose_db_answer("12345", 3), "Response payload length: 8\n12345");
    EXPECT_EQ(lab::compose_db_answer("12345", -9), "Response payload length: 0\n12345");
}

}  // namespace
