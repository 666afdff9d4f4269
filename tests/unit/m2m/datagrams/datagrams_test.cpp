// Datagrams: what is understood of a text, what is logged about it, and the exact text that is written. Those that the
// program sends are seen from outside by the system tests; here are the others and the odd ones.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "cbase/jsontext.h"
#include "m2m/datagrams/attach.h"
#include "m2m/datagrams/changestatus.h"
#include "m2m/datagrams/detach.h"
#include "m2m/datagrams/discovery.h"
#include "m2m/datagrams/doaction.h"
#include "m2m/datagrams/expire.h"
#include "m2m/datagrams/getstatus.h"
#include "m2m/datagrams/passwordmask.h"
#include "m2m/datagrams/register.h"
#include "m2m/datagrams/unregister.h"
#include "support/catching.h"

namespace {

// What a datagram holds besides its envelope: the keys that it writes again, or what it does not write.
template <class Datagram>
std::string keys_of(const Datagram& datagram) {
    const std::string envelope = wire(static_cast<const M2MRequestDatagram&>(datagram).encodeJSON());
    const std::string all = wire(datagram.encodeJSON());
    return all.substr(std::min(all.size(), envelope.size()));
}

template <>
std::string keys_of(const M2MRequestDatagram& datagram) {
    return wire(datagram.encodeJSON());
}

// "null", or each element and an end.
template <class List, class Text>
std::string listed(const List* list, const Text& text) {
    if (list == nullptr) return "null";
    std::string all;
    for (const auto& element : *list) all += text(element);
    return all;
}

std::string ids_of(const std::list<long>* ids) {
    return listed(ids, [](long id) { return std::to_string(id) + " "; });
}

template <>
std::string keys_of(const M2MDoActionRequestDatagram& datagram) {
    const auto same = [](const std::string& text) { return text + " "; };
    return ids_of(datagram.getObjectIDList()) + "|" + listed(datagram.getObjectTagList(), same) + "|" +
           listed(datagram.getActionList(), same) + "|" + listed(datagram.getActionValueList(), same);
}

template <>
std::string keys_of(const M2MGetStatusRequestDatagram& datagram) {
    return ids_of(datagram.getObjectIDList()) + "|" + listed(datagram.getObjectTagList(), [](const auto& entry) {
               return std::to_string(entry.first) + "[" + listed(&entry.second, [](auto& name) { return name + ","; }) +
                      "]";
           });
}

template <>
std::string keys_of(const M2MChangeStatusRequestDatagram& datagram) {
    return ids_of(datagram.getObjectIDList()) + "|" + (datagram.getResponseRequired() ? "1" : "0");
}

// Reads `text`, and a copy of what was read.
template <class Datagram>
std::string read(const std::string& text) {
    const Datagram datagram(text);
    const Datagram copy(&datagram);
    std::string seen = keys_of(copy);
    if constexpr (std::is_same_v<Datagram, M2MAttachRequestDatagram>) {
        EXPECT_EQ(copy.getOptions(), nullptr);
        seen += " mode " + std::to_string(static_cast<int>(copy.getCommunicationMode()));
    }
    return seen;
}

struct Reader {
    std::string function;
    std::string name;
    const char* loadReason;  // what ends the message about a text that is no JSON
    std::string (*read)(const std::string&);
};
const char* const reason = " with error: '}' expected near end of file";
const Reader readers[] = {{"envelope", "", reason, read<M2MRequestDatagram>},
                          {"attach", "Attach", "", read<M2MAttachRequestDatagram>},
                          {"detach", "Detach", "", read<M2MDetachRequestDatagram>},
                          {"discovery", "Discovery", reason, read<M2MDiscoveryRequestDatagram>},
                          {"register", "Register", "", read<M2MRegisterRequestDatagram>},
                          {"unregister", "Unregister", "", read<M2MUnregisterRequestDatagram>},
                          {"doaction", "DoAction", "", read<M2MDoActionRequestDatagram>},
                          {"getstatus", "GetStatus", "", read<M2MGetStatusRequestDatagram>},
                          {"changestatus", "ChangeStatus", "", read<M2MChangeStatusRequestDatagram>},
                          {"expire", "Expire", reason, read<M2MExpireRequestDatagram>}};

TEST(Parsing, TakesWhatIsThereAndLogsWhatIsNot) {
    const std::string head = R"({"type":"request","function":"f","source":"s","target":"t","token":"k","msg_id":"m")";
    for (const Reader& reader : readers)
        for (const auto& c : cases(__FILE__, reader.function.c_str())) {
            std::string text = c[0];
            if (!text.starts_with("{")) text = head + (text.empty() ? "" : ",") + text + "}";
            std::string seen;
            EXPECT_EQ(messages_of([&] { seen = reader.read(text); }), c[2].get<Texts>()) << reader.function << " " << c;
            EXPECT_EQ(seen, c[1]) << reader.function << " " << c;
        }
}

TEST(Parsing, WhatIsNoJsonIsLoggedByEachReaderWithoutItsPassword) {
    const std::string shown = R"(Datagram( string ) error loading the JSON <{"password":"<NOT PRINTED>">)";
    for (const auto& [function, name, loadReason, read] : readers) {
        Texts expected{"m2datagram->M2M" + shown + reason};
        if (!name.empty())
            expected.push_back("m2m" + function + "requestdatagram->M2M" + name + "Request" + shown + loadReason);
        EXPECT_EQ(messages_of([&] { read(R"({"password":"secret")"); }), expected);
    }
}

TEST(PasswordMask, ReplacesTheValuesAndNothingElse) {
    for (const auto& c : cases(__FILE__, "passwords")) EXPECT_EQ(mask_passwords(c[0]), c[1]) << c[0];
    for (const std::string name : {"password", "p\\u0061ssword"}) {
        const std::string text = R"({"username":"anna",")" + name + R"(":"XYZQ\"XYZQ","port":1,"o":{"password":"Q"}})";
        for (std::size_t length = 0; length <= text.size(); ++length)  // wherever the text is cut
            EXPECT_EQ(mask_passwords(text.substr(0, length)).find_first_of("XYZQ"), std::string::npos) << length;
    }
}

const std::string emptyHead = R"({"type":"","function":"","source":"","target":"","token":"","msg_id":"")";

template <class... Datagrams>
void expect_copies_of_null_to_be_defaults() {
    const Texts copies{wire(Datagrams(static_cast<const Datagrams*>(nullptr)).encodeJSON())...};
    EXPECT_EQ(copies, (Texts{wire(Datagrams().encodeJSON())...}));
}

TEST(Encoding, CopiesOfNothingAreDefaults) {
    expect_copies_of_null_to_be_defaults<
        M2MAttachRequestDatagram, M2MAttachResponseDatagram, M2MDetachRequestDatagram, M2MDetachResponseDatagram,
        M2MDiscoveryRequestDatagram, M2MDiscoveryResponseDatagram, M2MRegisterRequestDatagram,
        M2MRegisterResponseDatagram, M2MUnregisterRequestDatagram, M2MUnregisterResponseDatagram,
        M2MDoActionRequestDatagram, M2MDoActionResponseDatagram, M2MGetStatusRequestDatagram,
        M2MGetStatusResponseDatagram, M2MChangeStatusRequestDatagram, M2MExpireRequestDatagram>();
    EXPECT_EQ(wire(M2MResponseDatagram().encodeJSON()), emptyHead + R"(,"result":0})");
    std::string seen;
    const M2MResponseDatagram latin1("s", "\xE9", "response", "f", "k", 3, "m");
    EXPECT_EQ(messages_of([&] { seen = wire(latin1.encodeJSON()); }),
              Texts{"m2mdatagram->encodeJSON error adding tag <target>"});
    EXPECT_EQ(seen, R"({"type":"response","function":"f","source":"s","result":3})");
}

TEST(Encoding, AttachRequestWritesOptionsInOrderAndNoMode) {
    M2MAttachRequestDatagram request;
    request.setPassword("p\"w");
    for (const auto& [tag, value] : {std::pair{"b", "1"}, {"a", "2"}, {"b", "3"}}) request.setOptionForTag(tag, value);
    const M2MAttachRequestDatagram copy(&request);
    request.setOptions(nullptr);
    request.setOptionForTag("a", "1");
    EXPECT_EQ(request.getOptionForTag("a") + copy.getOptionForTag("a"), "2");
    EXPECT_EQ(wire(copy.encodeJSON()),
              emptyHead +
                  R"(,"clienttag":"","username":"","password":"p\"w","manufacturertag":"","softwareversion":"",)"
                  R"("protocolversion":0,"ipaddress":"","ipport":0,"options":{"a":"2","b":"1"}})");
}

TEST(Encoding, DiscoveryResponseIsTheSameAsTextMadePieceByPiece) {
    M2MRemotableObject::List objects;
    for (const int count : {0, 1, 2}) {
        const M2MDiscoveryResponseDatagram response("s", count == 1 ? "\xE9" : "t", "response", "discovery", "k", 0, 10,
                                                    &objects, "m");
        messages_of([&] { EXPECT_EQ(response.encodeText(), wire(response.encodeJSON())); });
        EXPECT_NE(response.encodeText().find("\"objects\":["), std::string::npos);
        objects.push_back(std::make_shared<M2MRemotableObject>());
        objects.push_back(nullptr);
    }
}

int allocationsLeft = 0;
void* scarce(std::size_t size) {
    return allocationsLeft-- > 0 ? std::malloc(size) : nullptr;
}

// At each allocation of the JSON library in turn: what comes out is a datagram, if a shorter one, or nothing.
TEST(Encoding, DiscoveryResponseIsWellFormedWhereverMemoryRunsOut) {
    const M2MRemotableObject::List objects{std::make_shared<M2MRemotableObject>(),
                                           std::make_shared<M2MRemotableObject>()};
    const M2MDiscoveryResponseDatagram response("s", "t", "response", "discovery", "k", 0, 10, &objects, "m");
    const std::string whole = response.encodeText();
    std::string text;
    for (int affordable = 0; text != whole && affordable < 1000; ++affordable) {
        allocationsLeft = affordable;
        json_set_alloc_funcs(scarce, std::free);
        messages_of([&] { text = response.encodeText(); });
        json_set_alloc_funcs(std::malloc, std::free);
        const Json parsed(json_loads(text.c_str(), 0, nullptr));
        EXPECT_TRUE(text.empty() || parsed) << affordable << " " << text;
    }
    EXPECT_EQ(text, whole);
}

TEST(Encoding, DoActionRequestWritesActionsOnTheObjectAndEmptyItems) {
    M2MDoActionRequestDatagram request;
    for (const auto& [id, value] : {std::pair{1, "a"}, {1, "b"}, {2, "c"}, {1, "d"}}) {
        request.setObjectIDList(id);
        request.setObjectTagList("n");
        request.setActionList("set");
        request.setActionValueList(value);
    }
    request.setObjectIDList(9);  // without an action
    EXPECT_EQ(wire(request.encodeJSON()),
              emptyHead + R"(,"objects":[{"id":1,"items":[{},{}],"name":"n","action":"set","action_value":"b"},)"
                          R"({"id":2,"items":[{}],"name":"n","action":"set","action_value":"c"},)"
                          R"({"id":1,"items":[{}],"name":"n","action":"set","action_value":"d"}]})");
}

}  // namespace
