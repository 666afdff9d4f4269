// Heap texts, numbers out of hostile texts, and texts out of bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>

#include "cbase/cstylecode_identity.h"
#include "cbase/m2mutil.h"
#include "cbase/memory.h"
#include "cbase/numbers.h"
#include "cbase/random.h"
#include "cbase/tokenize.h"
#include "support/catching.h"

namespace {

TEST(Cut, TakesOffWhatItIsToldAndReportsWhatItCannot) {
    const std::map<std::string, void (*)(char*, std::size_t)> functions{
        {"cut_message_to_preserve_newline", cut_message_to_preserve_newline},
        {"cut_message_to_trim_newline", cut_message_to_trim_newline},
        {"cutparamto", cutparamto},
        {"cutqueryparamto", cutqueryparamto}};
    for (const auto& c : cases(__FILE__, "cut")) {
        std::string text = c[1];
        const std::string said = c[4];
        const Texts messages = messages_of([&] { functions.at(c[0])(text.data(), c[2]); });
        EXPECT_EQ(text.c_str(), c[3].get<std::string>()) << c;
        EXPECT_EQ(messages, said.empty() ? Texts{} : Texts{"memory->" + c[0].get<std::string>() + " " + said}) << c;
    }
    for (const auto& [name, cut] : functions) EXPECT_EQ(messages_of([&] { cut(nullptr, 3); }).size(), 1U) << name;
}

// The sanitizers see what is released twice or not at all.
TEST(HeapTexts, ReleaseTheirSourcesWhenAskedTo) {
    for (const auto& c : cases(__FILE__, "replace")) {
        const Texts texts = c;
        const XText replaced(zstrreplace(strdup(texts[0].c_str()), texts[1].c_str(), texts[2].c_str(), 1));
        EXPECT_EQ(replaced.get(), texts[3]) << c;
    }
    EXPECT_EQ(zstrreplace(strdup("abc"), "b", nullptr, 1), nullptr);
    char* same = strdup("x");
    EXPECT_STREQ(XText(zstrcat(same, same, 1, 1)).get(), "xx");
    EXPECT_STREQ(XText(zstrcat(zstrcat(nullptr, strdup("b"), 1, 1), nullptr, 1, 0)).get(), "b");
    EXPECT_STREQ(XText(zstrcpy(zstrncpy(strdup("shorter"), 5, 1), 1)).get(), "short");
    EXPECT_STREQ(XText(zstrcpy(nullptr, 1)).get(), "");
    EXPECT_STREQ(XText(xstrncpy(nullptr, "shorter", 5)).get(), "short");
    xfree(zarrcpy(zarrcpy(nullptr, 7, 1), 0, 1));
}

TEST(Numbers, StayWithin32BitsOnEveryMachine) {
    for (const auto& c : cases(__FILE__, "numbers")) {
        const std::string text = c[0];
        EXPECT_EQ(to_number(text), c[1]) << c;
        EXPECT_EQ(parse_number(text), c[2].is_null() ? std::nullopt : std::optional<long>(c[2])) << c;
    }
}

TEST(Encodings, OfTextsAndBytesAreExact) {
    for (const auto& c : cases(__FILE__, "base64")) {
        char* out = nullptr;
        EXPECT_EQ(base64_encode(c[0].get<std::string>().c_str(), &out), 0);
        EXPECT_EQ(XText(out).get(), c[1].get<std::string>());
    }
    const unsigned char bytes[] = {0x00, 0xAB, 0x0F};
    EXPECT_STREQ(XText(convert_bytearraytohexstring(bytes, 3)).get(), "00AB0F");
    EXPECT_EQ(crc_16(reinterpret_cast<const unsigned char*>("123456789"), 9), 0x4B37);
    EXPECT_EQ(crc_16(bytes, 1), 0x40BF);
    for (const auto& c : cases(__FILE__, "search datagrams")) {
        std::string data = c[0];
        data.resize(c[1]);
        EXPECT_EQ(m2m_getsearchdatagramtype(reinterpret_cast<const unsigned char*>(data.data()), c[1]), c[2]) << c;
    }
    Texts tokens{"first"};
    for (const char* text : {"||a=1||b|", "|||", ""}) tokenize(text, tokens, "|");
    tokenize("x, y", tokens, ", ");
    EXPECT_EQ(tokens, (Texts{"first", "a=1", "b", "x", "y"}));
}

TEST(RandomCharacters, AreAllFrom0To127) {
    std::set<char> drawn;
    for (int i = 0; i < 10'000; ++i) drawn.insert(random_character());
    EXPECT_EQ(drawn.size(), 128U);
    EXPECT_EQ(*drawn.begin(), 0);  // and so none is negative
}

}  // namespace
