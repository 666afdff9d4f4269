// Holds docs/protocol.md and docs/schema/ to each other and to the program: every example fits its schema, every schema
// has an example, what does not fit is noticed, and requests that fit are read without a complaint.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "cbase/jsontext.h"
#include "document.h"
#include "m2m/datagrams/attach.h"
#include "m2m/datagrams/detach.h"
#include "m2m/datagrams/discovery.h"
#include "m2m/datagrams/doaction.h"
#include "m2m/datagrams/expire.h"
#include "m2m/datagrams/getstatus.h"
#include "m2m/datagrams/register.h"
#include "m2m/datagrams/unregister.h"
#include "schemas.h"

namespace {

using document::Example;
using nlohmann::json;

std::string joined(const schemas::Errors& errors) {
    std::string text;
    for (const std::string& line : errors) text += line + "\n";
    return text;
}

// The last example of a datagram: the richest one stands last.
json example_of(const std::string& schema) {
    json found;
    for (const Example& example : document::protocol_examples())
        if (example.schema == schema) found = json::parse(example.text);
    return found;
}

TEST(ProtocolPage, EveryExampleFitsItsSchema) {
    for (const Example& example : document::protocol_examples()) {
        SCOPED_TRACE("docs/protocol.md:" + std::to_string(example.line));
        ASSERT_NE(example.schema, "") << "a block of JSON without a comment that names its schema";
        if (example.schema == "none") {
            EXPECT_NE(joined(schemas::validate(example.text)), "");
            continue;
        }
        EXPECT_EQ(joined(schemas::validate(example.text, example.schema)), "");
        // And it is found by what it says about itself, as tests do that see it on the wire.
        EXPECT_EQ(joined(schemas::validate(example.text)), "");
    }
}

TEST(ProtocolPage, EverySchemaHasAnExample) {
    std::map<std::string, int> examples;
    for (const Example& example : document::protocol_examples()) ++examples[example.schema];
    for (const std::string& name : schemas::names()) EXPECT_GE(examples[name], 1) << name;
}

template <class Request>
void read(const std::string& text) {
    const Request request(text);
}

TEST(ProtocolPage, RequestsAreReadWithoutAComplaint) {
    const std::map<std::string, std::function<void(const std::string&)>> readers{
        {"attach-request", read<M2MAttachRequestDatagram>},
        {"detach-request", read<M2MDetachRequestDatagram>},
        {"discovery-request", read<M2MDiscoveryRequestDatagram>},
        {"doaction-request", read<M2MDoActionRequestDatagram>},
        {"getstatus-request", read<M2MGetStatusRequestDatagram>},
        {"register-request", read<M2MRegisterRequestDatagram>},
        {"unregister-request", read<M2MUnregisterRequestDatagram>},
    };
    std::size_t readExamples = 0;
    for (const Example& example : document::protocol_examples()) {
        const auto reader = readers.find(example.schema);
        if (reader == readers.end()) continue;
        testing::internal::CaptureStdout();
        reader->second(example.text);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "docs/protocol.md:" << example.line;
        ++readExamples;
    }
    EXPECT_GE(readExamples, readers.size());
}

// Nothing makes the running program send it, so it is not part of the session that is played.
TEST(ProtocolPage, TheExpiryIsWhatTheProgramMakes) {
    const json shown = example_of("expire-request");
    const auto text = [&shown](const char* key) { return shown[key].get<std::string>(); };
    const M2MExpireRequestDatagram made(text("source"), text("target"), text("type"), text("function"), text("token"),
                                        text("msg_id"), shown["reason"].get<int>(), false);
    const Json encoded(made.encodeJSON());
    for (const Example& example : document::protocol_examples()) {
        if (example.schema != "expire-request") continue;
        EXPECT_EQ(dump(encoded.get()), nlohmann::ordered_json::parse(example.text).dump());
    }
}

// An example with one thing changed; a null value takes it away.
struct Variant {
    const char* schema;
    const char* place;
    json value;
};

json changed(const Variant& variant) {
    json datagram = example_of(variant.schema);
    const json::json_pointer place(variant.place);
    if (variant.value.is_null()) {
        datagram.at(place.parent_pointer()).erase(place.back());
    } else {
        datagram[place] = variant.value;
    }
    return datagram;
}

TEST(Schemas, RefuseBrokenVariants) {
    const std::vector<Variant> broken{
        {"attach-request", "/communication_mode", nullptr},
        {"attach-request", "/communication_mode", 2},
        {"attach-request", "/clienttag", "O'Hara"},
        {"attach-request", "/source", "NO-VALUE"},
        {"attach-request", "/source", ""},
        {"attach-request", "/ipaddress", "the gate"},
        {"attach-request", "/ipport", 65536},
        {"attach-request", "/options", json::array()},
        {"attach-request", "/msg_id", 5},
        {"attach-response", "/result", 4},
        {"attach-response", "/result", 29},  // with a token
        {"attach-response", "/token", "not Base64"},
        {"attach-response", "/username", "anna"},
        {"attach-response", "/source", "the controller"},
        {"detach-request", "/clearneighbour", true},
        {"detach-response", "/token", "Z2dnZ2dnZ2c="},
        {"discovery-request", "/context_id", 10},
        {"discovery-response", "/context_id", "10"},
        {"discovery-response", "/result", 29},  // with objects
        {"discovery-response", "/objects", nullptr},
        {"discovery-response", "/objects/0/name", nullptr},
        {"discovery-response", "/objects/0/allowed_values/min", "0"},
        {"discovery-response", "/objects/0/colour", "red"},
        {"discovery-response", "/objects/4/items/2/allowed_values/allowed_values/3/label", 3},
        {"register-request", "/object_ids", json::array()},
        {"register-request", "/object_ids", json::array({20, "22"})},
        {"register-response", "/result", 29},
        {"unregister-response", "/result", 3},
        {"getstatus-request", "/objects/id", -3},
        {"getstatus-request", "/objects/items", nullptr},
        {"getstatus-response", "/result", 0},  // without objects
        {"getstatus-response", "/objects", json::array({1})},
        {"doaction-request", "/objects/0/items/1/action_value", ""},
        {"doaction-request", "/objects/0/items/1/action", nullptr},
        {"doaction-response", "/result", "40"},
        {"doaction-response", "/result", -5},
        {"changestatus-request", "/msg_id", "AAAABBBB"},
        {"changestatus-request", "/answer_required", false},
        {"changestatus-request", "/objects/0/current_value", 0},
        {"changestatus-request", "/token", "Z2dnZ2dnZ2c="},
        {"expire-request", "/reason", "1"},
        {"error-response", "/result", 0},
    };
    for (const Variant& variant : broken) {
        const std::string text = changed(variant).dump();
        EXPECT_FALSE(schemas::validate(text, variant.schema).empty()) << variant.schema << ": " << text;
    }
}

TEST(Schemas, RequireTheWholeEnvelope) {
    for (const std::string& name : schemas::names()) {
        for (const char* place : {"/type", "/function", "/source", "/target", "/token", "/msg_id"}) {
            const std::string text = changed({name.c_str(), place, nullptr}).dump();
            EXPECT_FALSE(schemas::validate(text, name).empty()) << text;
        }
    }
}

TEST(Schemas, TakeEveryFormThatTheProgramTakes) {
    const std::vector<Variant> loose{
        {"attach-request", "/ipport", "45201"},
        {"attach-request", "/protocolversion", "1"},
        {"attach-request", "/communication_mode", "1"},
        {"attach-request", "/options", {{"anything", "goes"}}},
        {"attach-request", "/more", "keys"},
        {"detach-request", "/clearneighbour", "1"},
        {"register-request", "/object_ids", 20},
        {"getstatus-request", "/objects/id", 999},
        {"getstatus-request", "/objects/items", {{"name", "Mode"}}},
        {"attach-response", "/token", "ABCD"},
        {"attach-response", "/token", ""},
        {"changestatus-request", "/objects", nullptr},
        {"changestatus-request", "/msg_id", ""},
        {"changestatus-request", "/msg_id", "\n\n\n\n\n\n\n\n"},
        {"changestatus-request", "/source", ""},
        {"discovery-response", "/objects/0/allowed_actions", nullptr},
    };
    for (const Variant& variant : loose) {
        const std::string text = changed(variant).dump();
        EXPECT_EQ(joined(schemas::validate(text, variant.schema)), "") << text;
    }
}

TEST(Schemas, JudgeADatagramByWhatItSaysItIs) {
    const std::string reply = R"("source":"","target":"","token":"","msg_id":"","result":)";
    // A known function's error reply lacks what its own responses have.
    EXPECT_EQ(joined(schemas::validate(R"({"type":"response","function":"discovery",)" + reply + "2}")), "");
    EXPECT_EQ(joined(schemas::validate(R"({"type":"response","function":"",)" + reply + "6}")), "");
    EXPECT_NE(joined(schemas::validate(R"({"type":"response","function":"discovery",)" + reply + "0}")), "");
    EXPECT_NE(joined(schemas::validate(R"({"type":"request","function":"nope"})")), "");
    for (const char* text : {"", "abc", "[]", "{}", R"({"type":1,"function":2})"})
        EXPECT_NE(joined(schemas::validate(text)), "") << text;
}

}  // namespace
