#include "neighbour/session.h"

#include <algorithm>
#include <iostream>

#include "neighbour/connection.h"
#include "neighbour/output.h"
#include "neighbour/status.h"

namespace neighbour {
namespace {

constexpr const char* defaultUid = "02:AA:BB:CC:DD:EE";

void complain(const std::string& what) {
    std::cerr << "neighbour: " << what << '\n';
}

std::string first_of(const std::optional<std::string>& given, const std::string& remembered, const char* otherwise) {
    if (given) return *given;
    return remembered.empty() ? otherwise : remembered;
}

}  // namespace

Session::Session(const Settings& settings)
    : _settings(settings), _stateFile(state_file(settings)), _state(load_state(_stateFile)) {}

Identity Session::identity() const {
    return {first_of(_settings.uid, _state.uid, defaultUid), first_of(_settings.target, _state.target, ""),
            first_of(_settings.token, _state.token, "")};
}

Verdict Session::exchangeAndJudge(std::string_view bytes, const Json* request) const {
    // With --raw the standard output carries the answer's bytes and nothing else.
    std::ostream& shown = _settings.raw ? std::cerr : std::cout;
    if (_settings.show) {
        shown << "> " << (request != nullptr ? encode_for_display(*request) : printable(bytes)) << std::endl;
    }
    const Exchange done = exchange(_settings, bytes);
    if (!done.connected) {
        complain("no connection to " + _settings.host + ":" + std::to_string(_settings.port) + ": " + done.problem);
        Verdict verdict;
        verdict.status = status::noConnection;
        return verdict;
    }
    Verdict verdict = judge_answer(done.answer, request);
    if (_settings.raw) std::cout << done.answer << std::flush;
    if (_settings.show) shown << "< " << printable(done.answer) << "  (" << done.transport << ")" << std::endl;
    if (verdict.status == status::noAnswer) {
        complain("no answer" + (done.problem.empty() ? ", the controller closed the connection" : ": " + done.problem));
    } else if (!done.problem.empty()) {
        complain(done.problem);
    }
    for (const std::string& remark : verdict.remarks) complain(printable(remark));
    return verdict;
}

Verdict Session::ask(const Json& request) const {
    return exchangeAndJudge(encode(request), &request);
}

Verdict Session::askWithBytes(std::string_view bytes) const {
    return exchangeAndJudge(bytes, nullptr);
}

void Session::tell(const std::string& function, const Verdict& verdict) const {
    // A success that answers something else has been told about on the standard error.
    if (_settings.raw || !verdict.result || verdict.status == status::badAnswer) return;
    std::cout << printable(function) << ": " << result_meaning(function, *verdict.result);
    if (*verdict.result != 0) std::cout << " (result " << *verdict.result << ")";
    std::cout << std::endl;
}

int Session::attach(const AttachFields& fields) {
    // A token on record is not sent: an attach is how one comes by it.
    const Identity who = identity();
    const Verdict verdict = ask(attach_request({who.uid, who.target, ""}, fields));
    if (verdict.status == status::noAnswer) {
        complain("attaches may be disabled at the controller, or it may belong to another neighbour");
    }
    // An error reply that never got as far as the attach leaves an earlier token as good as it was.
    if (verdict.status == status::badAnswer || text_member(verdict.body, "function") != "attach") {
        tell("attach", verdict);
        return verdict.status;
    }
    const std::string controller = text_member(verdict.body, "source");
    const std::string token = text_member(verdict.body, "token");
    _state = {who.uid, controller, token, fields.listenPort};
    if (!save_state(_stateFile, _state)) {
        complain("cannot keep the token in " + _stateFile);
        return status::usage;
    }
    if (verdict.status != 0) {
        tell("attach", verdict);
    } else if (!_settings.raw) {
        std::cout << "attached to " << printable(controller) << " as " << printable(fields.user) << ", token "
                  << printable(token) << std::endl;
    }
    return verdict.status;
}

int Session::detach(bool clearAll) {
    const Verdict verdict = ask(detach_request(identity(), clearAll));
    if (verdict.status == 0) forget_state(_stateFile);
    tell("detach", verdict);
    return verdict.status;
}

int Session::discoverContext(long long context, std::vector<HomeObject>& objects) const {
    const Verdict verdict = ask(discovery_request(identity(), context));
    if (_settings.raw && verdict.status != status::noConnection) std::cout << std::endl;
    if (verdict.status == 0) objects = objects_of(verdict.body);
    return verdict.status;
}

int Session::discoverContents(std::vector<HomeObject>& objects, std::set<long long>& entered, int depth) const {
    constexpr int deepest = 32;
    for (HomeObject& object : objects) {
        if (object.type != "GROUP" || object.id < 0 || depth == deepest) continue;
        // Groups may hold each other; each is walked into once.
        if (!entered.insert(object.id).second) {
            object.shownElsewhere = true;
            continue;
        }
        if (const int status = discoverContext(object.id, object.contents); status != 0) return status;
        if (const int status = discoverContents(object.contents, entered, depth + 1); status != 0) return status;
    }
    return status::success;
}

int Session::discoverHome(std::vector<HomeObject>& home) const {
    if (const int status = discoverContext(-1, home); status != 0) return status;
    std::set<long long> entered;
    return discoverContents(home, entered, 0);
}

int Session::registerFor(const std::vector<long long>& ids) const {
    // A controller reads once: what does not fit into one TLS record is lost.
    constexpr std::size_t most = 500;
    for (std::size_t at = 0; at < ids.size(); at += most) {
        const auto begin = ids.begin() + static_cast<std::ptrdiff_t>(at);
        const auto end = ids.begin() + static_cast<std::ptrdiff_t>(std::min(at + most, ids.size()));
        const Verdict verdict = ask(register_request(identity(), {begin, end}));
        if (verdict.status != 0) {
            tell("register", verdict);
            return verdict.status;
        }
    }
    return status::success;
}

}  // namespace neighbour
