#include "load.h"

#include <numeric>

#include "calls.h"
#include "neighbour/judge.h"

namespace soak {

namespace {

using neighbour::Json;

// The demo home's objects and its user.
constexpr const char* user = "anna";
constexpr const char* password = "sesame";
constexpr long long light = 20;
constexpr long long shutter = 22;
constexpr long long thermostat = 30;

// Result codes of the program.
constexpr int success = 0;
constexpr int unknown = 2;
constexpr int invalidNeighbour = 11;
constexpr int refused = 29;

constexpr std::size_t mostSurprises = 10;

}  // namespace

const std::array<Load::Kind, 22> Load::kinds{{
    {"attach", 3, false, &Load::attach},
    {"attach, wrong password", 1, true, &Load::attachWrongly},
    {"detach", 1, false, &Load::detach},
    {"discovery of the groups", 8, false, &Load::discoverGroups},
    {"discovery of a group", 8, false, &Load::discoverGroup},
    {"register", 5, false, &Load::registerObjects},
    {"unregister", 3, false, &Load::unregisterObject},
    {"get-status", 25, false, &Load::getStatus},
    {"do-action", 12, false, &Load::doAction},
    {"core call", 10, false, &Load::coreCall},
    {"wrong token", 3, true, &Load::wrongToken},
    {"unknown function", 2, true, &Load::unknownFunction},
    {"response unasked for", 1, true, &Load::response},
    {"junk over TLS", 3, true, &Load::junk},
    {"goodbye after handshake", 2, true, &Load::silence},
    {"reset after datagram", 2, true, &Load::resetAfterDatagram},
    {"junk for a handshake", 2, true, &Load::noHandshake},
    {"datagram in clear", 2, true, &Load::datagramInClear},
    {"half a hello", 2, true, &Load::halfAHello},
    {"reset at once", 2, true, &Load::resetAtOnce},
    {"core call, cut short", 2, true, &Load::callCutShort},
    {"core call, unknown", 1, true, &Load::callOfUnknownService},
}};

Load::Load(const Ports& ports) : ports_(ports), wire_(ports.neighbour) {
    std::vector<int> weights;
    for (const Kind& kind : kinds) {
        weights.push_back(kind.weight);
        tallies_.push_back({kind.name, kind.meantToFail});
    }
    draw_ = {weights.begin(), weights.end()};
}

bool Load::begin() {
    constexpr std::size_t attachKind = 0;
    constexpr std::size_t registerKind = 5;
    constexpr int attempts = 5;
    for (int i = 0; i < attempts && !attached_; ++i) play(attachKind);
    if (attached_ && !registered_) play(registerKind);
    return attached_ && registered_;
}

void Load::step() {
    play(draw_(random_));
    begin();
}

void Load::play(std::size_t kind) {
    Tally& tally = tallies_[kind];
    const auto start = std::chrono::steady_clock::now();
    const std::string surprise = (this->*kinds[kind].play)();
    const auto time = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    ++tally.sent;
    tally.slowest = std::max(tally.slowest, time);
    if (surprise.empty()) return;
    ++tally.unexpected;
    if (surprises_.size() < mostSurprises) surprises_.push_back(std::string(tally.kind) + ": " + surprise);
}

long Load::sent() const {
    return std::accumulate(tallies_.begin(), tallies_.end(), 0L, [](long sum, const Tally& t) { return sum + t.sent; });
}

long Load::unexpected() const {
    return std::accumulate(tallies_.begin(), tallies_.end(), 0L,
                           [](long sum, const Tally& t) { return sum + t.unexpected; });
}

std::string Load::expectResult(const Json& request, int result) {
    const auto exchange = wire_.exchange(neighbour::encode(request));
    if (!exchange.problem.empty()) return exchange.problem;
    const auto verdict = neighbour::judge_answer(exchange.answer, &request);
    if (verdict.status == result) return {};
    return "expected result " + std::to_string(result) + ", got: " + exchange.answer.substr(0, 300);
}

// --- What a neighbour does

std::string Load::attach() {
    neighbour::AttachFields fields;
    fields.user = user;
    fields.password = password;
    fields.listenAddress = "127.0.0.1";
    fields.listenPort = ports_.ear;
    const Json request = neighbour::attach_request({uid_, target_, ""}, fields);
    const auto exchange = wire_.exchange(neighbour::encode(request));
    const auto verdict = neighbour::judge_answer(exchange.answer, &request);
    attached_ = false;
    if (verdict.status != success) return exchange.problem + " " + exchange.answer.substr(0, 300);
    token_ = neighbour::text_member(verdict.body, "token");
    target_ = neighbour::text_member(verdict.body, "source");
    // One token in 128 is drawn empty, and nothing can be operated with it: a neighbour attaches once more then.
    attached_ = !token_.empty();
    return {};
}

std::string Load::attachWrongly() {
    neighbour::AttachFields fields;
    fields.user = user;
    fields.password = "wrong";
    fields.listenAddress = "127.0.0.1";
    fields.listenPort = ports_.ear;
    attached_ = false;
    return expectResult(neighbour::attach_request({uid_, target_, ""}, fields), refused);
}

std::string Load::detach() {
    attached_ = false;
    registered_ = false;
    return expectResult(neighbour::detach_request(identity(), false), success);
}

std::string Load::discoverGroups() {
    return expectResult(neighbour::discovery_request(identity(), -1), success);
}

std::string Load::discoverGroup() {
    constexpr long long firstGroup = 10;
    constexpr unsigned groups = 3;
    return expectResult(
        neighbour::discovery_request(identity(), firstGroup + static_cast<long long>(random_() % groups)), success);
}

std::string Load::registerObjects() {
    registered_ = true;
    return expectResult(neighbour::register_request(identity(), {light, shutter, thermostat}), success);
}

std::string Load::unregisterObject() {
    return expectResult(neighbour::unregister_request(identity(), {shutter}), success);
}

std::string Load::getStatus() {
    std::vector<neighbour::ItemSelection> objects{{light, {}}};
    if (random_() % 2 == 0) objects.push_back({thermostat, {"Setpoint"}});
    return expectResult(neighbour::getstatus_request(identity(), objects), success);
}

std::string Load::doAction() {
    const bool simple = random_() % 2 == 0;
    const neighbour::Action action =
        simple ? neighbour::Action{light, "x", "toggle", "1"}
               : neighbour::Action{thermostat, "Setpoint", "set", std::to_string(18 + random_() % 4)};
    return expectResult(neighbour::doaction_request(identity(), {action}), success);
}

std::string Load::coreCall() {
    if (!call_change_status(ports_.core, std::to_string(light))) return "not understood";
    ++callsUnderstood_;
    return {};
}

// --- What it should not do

std::string Load::wrongToken() {
    return expectResult(neighbour::getstatus_request({uid_, target_, "wrong"}, {{light, {}}}), invalidNeighbour);
}

std::string Load::unknownFunction() {
    Json request = neighbour::detach_request(identity(), false);
    request["function"] = "dance";
    return expectResult(request, unknown);
}

std::string Load::response() {
    Json request = neighbour::detach_request(identity(), false);
    request["type"] = "response";
    return expectResult(request, unknown);
}

std::string Load::junk() {
    std::string bytes(1 + random_() % 2000, 'x');
    for (char& byte : bytes) byte = static_cast<char>(1 + random_() % 255);
    const auto exchange = wire_.exchange(bytes);
    const auto verdict = neighbour::judge_answer(exchange.answer, nullptr);
    return verdict.result == unknown ? "" : "answered with " + exchange.answer.substr(0, 300);
}

std::string Load::silence() {
    const auto exchange = wire_.exchange("");
    return exchange.handshaken ? "" : "handshake: " + exchange.problem;
}

std::string Load::resetAfterDatagram() {
    const Json request = neighbour::getstatus_request(identity(), {{light, {}}});
    const auto exchange = wire_.exchange(neighbour::encode(request), TlsWire::Ending::reset);
    return exchange.handshaken ? "" : "handshake: " + exchange.problem;
}

// --- Handshakes that fail. An alert may come back, a datagram must not.

std::string Load::expectNoAnswer(const std::string& bytes) {
    const std::string answer = exchange_plain(ports_.neighbour, bytes);
    return answer.find('{') == std::string::npos ? "" : "answered with " + answer.substr(0, 300);
}

std::string Load::noHandshake() {
    std::string bytes(random_() % 300, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random_());
    return expectNoAnswer("\x16\x03\x01" + bytes);
}

std::string Load::datagramInClear() {
    return expectNoAnswer(neighbour::encode(neighbour::getstatus_request(identity(), {{light, {}}})));
}

std::string Load::halfAHello() {
    using namespace std::string_literals;
    return expectNoAnswer("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03"s + std::string(random_() % 400, 'r'));
}

std::string Load::resetAtOnce() {
    reset(connect_to(ports_.neighbour));
    return {};
}

// --- What the core should not do

std::string Load::callCutShort() {
    return call_cut_short(ports_.core) ? "" : "answered";
}

std::string Load::callOfUnknownService() {
    return call_unknown_service(ports_.core) ? "" : "answered";
}

}  // namespace soak
