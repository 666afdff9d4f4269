// What the pure pieces cost: parse and encode of each datagram, DBManager's answers, discovery of many objects.

#include <benchmark/benchmark.h>

#include <string>

#include "cbase/jsontext.h"
#include "libenvcore/coremessages.h"
#include "libenvdb/dbanswer.h"
#include "m2m/datagrams/attach.h"
#include "m2m/datagrams/detach.h"
#include "m2m/datagrams/discovery.h"
#include "m2m/datagrams/doaction.h"
#include "m2m/datagrams/expire.h"
#include "m2m/datagrams/getstatus.h"
#include "m2m/datagrams/passwordmask.h"
#include "m2m/datagrams/register.h"
#include "m2m/datagrams/unregister.h"

namespace {

std::string envelope(const std::string& function, const std::string& rest) {
    return R"({"type":"request","function":")" + function +
           R"(","source":"02:AA:BB:CC:DD:EE","target":"02:11:22:33:44:55","token":"Z2dnZ2dnZ2c=","msg_id":"7")" + rest +
           "}";
}

template <class Datagram>
void parse(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        Datagram datagram(text);
        benchmark::DoNotOptimize(datagram);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

template <class Datagram>
void encode(benchmark::State& state, const Datagram& datagram) {
    for (auto _ : state) {
        const Json json(datagram.encodeJSON());
        benchmark::DoNotOptimize(dump(json.get()));
    }
}

std::string select_answer(long rows) {
    std::string payload =
        "Response: FSMC-000\nNum rows: " + std::to_string(rows + 1) + "\nFields   : 'ID','CURRENT_VALUE'\n";
    for (long i = 0; i < rows; ++i) payload += "Row      : '" + std::to_string(i) + "','21.5'\n";
    return "Response payload length: " + std::to_string(payload.size()) + "\n" + payload;
}

void database_answer(benchmark::State& state) {
    const std::string answer = select_answer(state.range(0));
    for (auto _ : state) {
        libenvdb::AnswerCollector collector;
        collector.add(answer);
        const std::string payload = collector.payload();
        std::string error;
        benchmark::DoNotOptimize(libenvdb::parse_select(payload, error));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(database_answer)->Arg(1)->Arg(100)->Arg(5000);

M2MRemotableObject::List objects(long count) {
    M2MRemotableObject::List list;
    for (long i = 0; i < count; ++i) {
        auto object = std::make_shared<M2MRemotableObject>();
        object->setID(i);
        object->setType("QUOROBJ");
        object->setName("Light " + std::to_string(i));
        object->setCurrentValue("1");
        object->setActionList(std::string("set|turn-on|turn-off|toggle"));
        list.push_back(std::move(object));
    }
    return list;
}

void discovery_encode(benchmark::State& state) {
    const auto list = objects(state.range(0));
    const M2MDiscoveryResponseDatagram response("a", "b", "response", "discovery", "t", 0, 10, &list, "7");
    for (auto _ : state) benchmark::DoNotOptimize(response.encodeText());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(discovery_encode)->Arg(10)->Arg(500)->Arg(5000);

void core_call(benchmark::State& state) {
    const std::string call =
        "Request: SERVICE_RUNONELEMENT\nParameter Count: 4\nParam000 Length: 3\nParam000: \n101\nParam001 Length: 8\n"
        "Param001: \nNO-VALUE\nParam002 Length: 12\nParam002: \nCHANGESTATUS\nParam003 Length: 2\nParam003: \n20\n"
        "Waittime: 5\n\n";
    for (auto _ : state) {
        std::string error;
        benchmark::DoNotOptimize(libenvcore::parse_core_call(call, error));
    }
}
BENCHMARK(core_call);

// Registers parse or encode of one datagram under a readable name.
template <class Datagram>
void register_parse(const char* name, const std::string& text) {
    benchmark::RegisterBenchmark((std::string("parse/") + name).c_str(),
                                 [text](benchmark::State& state) { parse<Datagram>(state, text); });
}
template <class Datagram>
void register_encode(const char* name, const Datagram& datagram) {
    benchmark::RegisterBenchmark((std::string("encode/") + name).c_str(),
                                 [datagram](benchmark::State& state) { encode(state, datagram); });
}

void register_datagrams() {
    const std::string attach = envelope(
        "attach",
        R"(,"clienttag":"n","username":"anna","password":"sesame","manufacturertag":"lab","softwareversion":"1",)"
        R"("protocolversion":1,"ipaddress":"127.0.0.1","ipport":45201,"options":{},"communication_mode":1)");
    const std::string status =
        envelope("getstatus", R"(,"objects":[{"id":20,"items":[]},{"id":30,"items":[{"name":"Setpoint"}]}])");
    const std::string action =
        envelope("doaction", R"(,"objects":[{"id":20,"items":[{"name":"x","action":"turn-on","action_value":"1"}]}])");
    benchmark::RegisterBenchmark("mask/attach", [attach](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(mask_passwords(attach));
    });
    register_parse<M2MRequestDatagram>("envelope", status);
    register_parse<M2MAttachRequestDatagram>("attach", attach);
    register_parse<M2MDetachRequestDatagram>("detach", envelope("detach", R"(,"clearneighbour":0)"));
    register_parse<M2MDiscoveryRequestDatagram>("discovery", envelope("discovery", R"(,"context_id":"10")"));
    register_parse<M2MRegisterRequestDatagram>("register", envelope("register", R"(,"object_ids":[20,22,30])"));
    register_parse<M2MUnregisterRequestDatagram>("unregister", envelope("unregister", R"(,"object_ids":[20,22,30])"));
    register_parse<M2MGetStatusRequestDatagram>("getstatus", status);
    register_parse<M2MDoActionRequestDatagram>("doaction", action);
    register_encode("response", M2MResponseDatagram("a", "b", "response", "attach", "t", 0, "7"));
    register_encode("expire", M2MExpireRequestDatagram("a", "b", "request", "expire", "", "7", 1, false));
}

}  // namespace

int main(int argc, char** argv) {
    register_datagrams();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
