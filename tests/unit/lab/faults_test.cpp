// The faults file: its words, which requests a line meets, and that it is read anew each time.
#include "common/faults.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

TEST(Faults, WordsOfALineAddUp) {
    std::string problem;
    const auto fault =
        lab::parse_fault(R"(delay=20 cut=7 wronglength=-3 match="UPDATE \"X" raw=a\nb\x41 times=2)", problem);
    ASSERT_TRUE(fault) << problem;
    EXPECT_EQ(fault->delay.count(), 20);
    EXPECT_EQ(fault->cut, 7U);
    EXPECT_EQ(fault->wrong_length, -3);
    EXPECT_EQ(fault->match, "UPDATE \"X");
    EXPECT_EQ(fault->raw, "a\nbA");
    EXPECT_EQ(fault->times, 2);
}

TEST(Faults, UnknownWordsAndWrongValuesAreRefused) {
    for (const char* line : {"bogus", "cut=x", "cut=-1", "delay=", "status=", "times=two", "match=", "wronglength"}) {
        std::string problem;
        EXPECT_FALSE(lab::parse_fault(line, problem)) << line;
        EXPECT_FALSE(problem.empty()) << line;
    }
}

class FaultFile : public testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove(path_); }
    void write(const std::string& text) const { std::ofstream(path_) << text; }
    std::string path_ = testing::TempDir() + "faults_test.txt";
};

TEST_F(FaultFile, IsFollowedAsItComesChangesAndGoes) {
    std::filesystem::remove(path_);
    lab::FaultPlan plan(path_);
    EXPECT_FALSE(plan.for_request("SELECT").close_early);
    write("closeearly match=SELECT\nstatus=9\n");
    EXPECT_TRUE(plan.for_request("SELECT 1").close_early);
    EXPECT_EQ(plan.for_request("UPDATE").status, 9);
    write("refuse\n");
    EXPECT_TRUE(plan.refuses_connection());
    EXPECT_FALSE(plan.for_request("UPDATE").status);
    std::filesystem::remove(path_);
    EXPECT_FALSE(plan.refuses_connection());
}

TEST_F(FaultFile, TimesCountsMatchingRequestsUntilTheFileChanges) {
    lab::FaultPlan plan(path_);
    write("garbage match=A times=1\n");
    EXPECT_FALSE(plan.for_request("B").garbage);
    EXPECT_TRUE(plan.for_request("A").garbage);
    EXPECT_FALSE(plan.for_request("A").garbage);
    write("garbage match=A times=1\n\n");
    EXPECT_TRUE(plan.for_request("A").garbage);
}

}  // namespace
