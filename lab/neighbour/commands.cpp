#include "neighbour/commands.h"

#include <poll.h>

#include <fstream>
#include <iostream>
#include <sstream>

#include "common/text.h"
#include "neighbour/connection.h"
#include "neighbour/home.h"
#include "neighbour/listener.h"
#include "neighbour/output.h"
#include "neighbour/status.h"

namespace neighbour {
namespace {

int complain(const std::string& what) {
    std::cerr << "neighbour: " << what << '\n';
    return status::usage;
}

void print(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) std::cout << line << '\n';
    std::cout << std::flush;
}

std::optional<std::vector<long long>> parse_ids(const std::vector<std::string>& texts) {
    std::vector<long long> ids;
    for (const std::string& text : texts) {
        const auto id = lab::to_number(text);
        if (!id) {
            complain("\"" + text + "\" is no object ID");
            return std::nullopt;
        }
        ids.push_back(*id);
    }
    return ids;
}

int request_for_ids(const Session& session, const char* function,
                    Json (*make)(const Identity&, const std::vector<long long>&),
                    const std::vector<std::string>& texts) {
    const auto ids = parse_ids(texts);
    if (!ids) return status::usage;
    const Verdict verdict = session.ask(make(session.identity(), *ids));
    session.tell(function, verdict);
    return verdict.status;
}

}  // namespace

timedio::Deadline end_after(double seconds) {
    return seconds <= 0 ? timedio::Deadline::max()
                        : timedio::deadline_in(std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000)));
}

void complete(AttachFields& fields, const Session& session) {
    if (fields.listenAddress.empty()) {
        fields.listenAddress = address_towards(session.settings().host, session.settings().port);
    }
    if (fields.listenPort == 0) fields.listenPort = session.listenPort();
    if (fields.listenPort == 0) fields.listenPort = defaultListenPort;
}

int attach(Session& session, AttachFields fields) {
    complete(fields, session);
    return session.attach(fields);
}

int detach(Session& session, bool clearAll) {
    return session.detach(clearAll);
}

int send_bytes(const Session& session, const std::string& file) {
    std::ostringstream bytes;
    if (file == "-") {
        bytes << std::cin.rdbuf();
    } else {
        const std::ifstream in(file, std::ios::binary);
        if (!in) return complain("cannot read " + file);
        bytes << in.rdbuf();
    }
    const Verdict verdict = session.askWithBytes(bytes.str());
    if (!session.settings().raw && verdict.body.is_object()) std::cout << printable(verdict.body.dump()) << std::endl;
    const std::string function = text_member(verdict.body, "function");
    session.tell(function.empty() ? "send" : function, verdict);
    return verdict.status;
}

int discovery(const Session& session, long long context, bool tree) {
    std::vector<HomeObject> objects;
    int status = 0;
    if (tree) {
        status = session.discoverHome(objects);
    } else {
        const Verdict verdict = session.ask(discovery_request(session.identity(), context));
        objects = objects_of(verdict.body);
        status = verdict.status;
        if (status != 0) session.tell("discovery", verdict);
    }
    if (session.settings().raw) return status;
    if (!objects.empty()) {
        print(table_lines(home_rows(objects)));
    } else if (status == 0) {
        print({"discovery: nothing to see here"});
    }
    return status;
}

int register_objects(const Session& session, const std::vector<std::string>& ids) {
    return request_for_ids(session, "register", register_request, ids);
}

int unregister_objects(const Session& session, const std::vector<std::string>& ids) {
    return request_for_ids(session, "unregister", unregister_request, ids);
}

int getstatus(const Session& session, const std::vector<std::string>& selections) {
    std::vector<ItemSelection> objects;
    for (const std::string& text : selections) {
        auto selection = parse_selection(text);
        if (!selection) return complain("\"" + text + "\" is not ID[:ITEM[,ITEM]]");
        objects.push_back(std::move(*selection));
    }
    const Verdict verdict = session.ask(getstatus_request(session.identity(), objects));
    if (session.settings().raw) return verdict.status;
    const std::vector<HomeObject> found = objects_of(verdict.body);
    if (verdict.status != 0 || found.empty()) session.tell("getstatus", verdict);
    if (!found.empty()) print(table_lines(home_rows(found)));
    return verdict.status;
}

int doaction(const Session& session, const std::vector<std::string>& words) {
    constexpr std::size_t wordsPerAction = 4;
    if (words.empty() || words.size() % wordsPerAction != 0) {
        return complain("doaction takes groups of four: ID ITEM ACTION VALUE");
    }
    std::vector<Action> actions;
    for (std::size_t at = 0; at < words.size(); at += wordsPerAction) {
        const auto id = lab::to_number(words[at]);
        if (!id) return complain("\"" + words[at] + "\" is no object ID");
        actions.push_back({*id, words[at + 1], words[at + 2], words[at + 3]});
    }
    const Verdict verdict = session.ask(doaction_request(session.identity(), actions));
    session.tell("doaction", verdict);
    return verdict.status;
}

int listen_for_notifications(const Session& session, const ListenOptions& options) {
    const std::uint16_t remembered = session.listenPort() != 0 ? session.listenPort() : defaultListenPort;
    std::string problem;
    const auto listener = Listener::open(options.port.value_or(remembered), session.settings().tls, problem);
    if (!listener) return complain(problem);
    std::cerr << "neighbour: listening on port " << listener->port()
              << (session.settings().tls.enabled ? " (TLS)" : " (plain)") << std::endl;

    const timedio::Deadline end = end_after(options.seconds);
    std::size_t received = 0;
    while (options.count == 0 || received < options.count) {
        if (!timedio::wait_for(listener->descriptor(), POLLIN, end))
            return options.count == 0 ? status::success : status::timeIsUp;
        const std::string datagram = listener->receive(session.settings().timeout(), problem);
        if (!problem.empty()) std::cerr << "neighbour: a connection failed: " << printable(problem) << '\n';
        if (datagram.empty()) continue;
        ++received;
        print(session.settings().raw ? std::vector{datagram} : describe_notification(datagram));
        if (!std::cout) return status::success;  // nobody reads any more
    }
    return status::success;
}

}  // namespace neighbour
