// neighbour: another controller, as a command. It attaches to a controller over its JSON protocol, looks around, reads
// and drives the home, and listens for changes. This file is the command line only.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "neighbour/commands.h"
#include "neighbour/session.h"
#include "neighbour/settings.h"
#include "neighbour/status.h"
#include "neighbour/watch.h"

namespace {

using neighbour::AttachFields;
using neighbour::Session;
using neighbour::Settings;

constexpr const char* description =
    "A neighbour of a home-automation controller: attaches to it, looks around, reads and drives the home, and hears\n"
    "of changes. One connection per request; the answer is printed for a person, or as it came with --raw.";

constexpr const char* footer =
    "Options may stand before or after the command. A value that starts with a dash goes after \"--\":\n"
    "  neighbour doaction -- 12 - set -5\n"
    "\n"
    "A session:\n"
    "  neighbour attach --user guest --password secret    keeps the token for the commands that follow\n"
    "  neighbour discovery --tree\n"
    "  neighbour register 12 15\n"
    "  neighbour doaction 12 - on 1\n"
    "  neighbour getstatus 12 15:temperature\n"
    "  neighbour listen --count 1\n"
    "  neighbour detach\n"
    "\n"
    "Exit status:\n"
    "  0        the controller's result is 0\n"
    "  1-119    the controller's result, as it is\n"
    "  120      another result (negative, or above 119)\n"
    "  121      no connection: refused, unreachable, or the TLS handshake failed\n"
    "  122      connected, but no answer\n"
    "  123      what came is no answer to the request\n"
    "  124      listen: fewer datagrams came than --count asked for\n"
    "  125      wrong command line, or a local file or port that cannot be used";

// A year; also keeps the milliseconds within their type.
const CLI::Validator forAsLong = CLI::Range(0.0, 31536000.0).description("");

void add_global_options(CLI::App& app, Settings& settings, bool& plain, std::string& tlsVersion) {
    app.add_option("--host", settings.host, "the controller's address")->capture_default_str();
    app.add_option("--port", settings.port, "and port")->capture_default_str();
    app.add_flag("--plain", plain, "TCP without TLS, for listening too (default: TLS, the peer is not verified)");
    const auto version = [&tlsVersion](const char* number) {
        return [&tlsVersion, number](std::int64_t /*count*/) { tlsVersion = number; };
    };
    app.add_flag_function("--tls1.2", version("1.2"), "TLS 1.2 only");
    app.add_flag_function("--tls1.3", version("1.3"), "TLS 1.3 only");
    app.add_option("--resume", settings.tls.resumeFile, "file that keeps the TLS session, to resume it next time");
    app.add_option("--uid", settings.uid, "our own UID (default: that of the attach, else 02:AA:BB:CC:DD:EE)");
    app.add_option("--target", settings.target, "the controller's UID (default: as it answered to the attach)");
    app.add_option("--token", settings.token, "token to send (default: that of the attach)");
    app.add_option("--state", settings.stateFile,
                   "file that keeps token and UIDs from attach to detach\n"
                   "(default: m2mneighbour-HOST-PORT in $XDG_STATE_HOME, else ~/.m2mneighbour-HOST-PORT)");
    app.add_flag("--raw", settings.raw,
                 "print exactly the answer's bytes; only discovery --tree and listen end each datagram with a newline");
    app.add_flag("--show", settings.show,
                 "print request (password left out) and answer as they travel (to standard error with --raw)");
    app.add_option("--timeout", settings.timeoutSeconds, "seconds that one exchange may take")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 86400.0).description(""));
}

void add_attach_options(CLI::App& command, AttachFields& fields, bool required) {
    command.add_option("--user", fields.user, "user of the controller")->required(required);
    command.add_option("--password", fields.password, "and password")->required(required);
    command.add_option("--listen-port", fields.listenPort,
                       "where we take notifications (default: as last time, else 45201)");
    command.add_option("--listen-address", fields.listenAddress,
                       "and at which address (default: the one that the controller is reached from)");
    command.add_option("--client-tag", fields.clientTag, "our name")->capture_default_str();
    command.add_option("--manufacturer", fields.manufacturer, "our maker")->capture_default_str();
    command.add_option("--software-version", fields.softwareVersion, "our version")->capture_default_str();
}

void add_listen_options(CLI::App& command, Settings& settings) {
    command.add_option("--certificate", settings.tls.certificateFile, "PEM file (default: one made in memory)");
    command.add_option("--key", settings.tls.keyFile, "PEM file of its key (default: in the certificate's file)");
}

// The commands that the program knows; run() performs the one that was chosen.
class CommandLine {
  public:
    CommandLine() {
        _app.require_subcommand(1);
        _app.fallthrough();
        _app.footer(footer);
        add_global_options(_app, _settings, _plain, _settings.tls.version);
        addAttachment();
        addObjects();
        addNotifications();
    }

    int run(int argc, char** argv) {
        try {
            _app.parse(argc, argv);
        } catch (const CLI::ParseError& problem) {
            return _app.exit(problem) == 0 ? neighbour::status::success : neighbour::status::usage;
        }
        _settings.tls.enabled = !_plain;
        Session session(_settings);
        return _chosen(session);
    }

  private:
    using Action = std::function<int(Session&)>;

    CLI::App* add(const char* name, const char* about, Action action) {
        CLI::App* const command = _app.add_subcommand(name, about);
        command->footer("General options and exit statuses: neighbour --help");
        command->callback([this, action = std::move(action)] { _chosen = action; });
        return command;
    }

    void addAttachment() {
        auto* const attach = add("attach", "introduce ourselves and log in; the token is kept for later commands",
                                 [this](Session& session) { return neighbour::attach(session, _attach); });
        add_attach_options(*attach, _attach, true);

        auto* const detach = add("detach", "end the attachment",
                                 [this](Session& session) { return neighbour::detach(session, _clearAll); });
        detach->add_flag("--clear-all", _clearAll, "and have everything about us deleted");

        auto* const send = add("send", "send any bytes as they are and print the answer",
                               [this](Session& session) { return neighbour::send_bytes(session, _file); });
        send->add_option("FILE", _file, "file, or - for the standard input")->required();
    }

    void addObjects() {
        auto* const discovery =
            add("discovery", "list the groups of the home, or what is in one of them",
                [this](Session& session) { return neighbour::discovery(session, _context, _tree); });
        auto* const context = discovery->add_option("--context", _context, "ID of a group (default: the groups)");
        discovery->add_flag("--tree", _tree, "walk through all groups and print the home as a tree")->excludes(context);

        addWithWords("register", "ask to be told when these objects change", "ID", "objects",
                     neighbour::register_objects);
        addWithWords("unregister", "ask to be told no longer", "ID", "objects", neighbour::unregister_objects);
        addWithWords(
            "getstatus", "read values of objects, or of some items of complex ones", "OBJECT",
            "ID, or ID:ITEM[,ITEM] as in 15:temperature,setpoint; a backslash takes the next character as it is",
            neighbour::getstatus);
        addWithWords("doaction", "perform actions in the order given, up to the first that fails", "ACTION",
                     "each as four words: ID ITEM ACTION VALUE; ITEM names a part of a complex object and is ignored "
                     "otherwise,\nbut it may not be empty: write - there",
                     neighbour::doaction);
    }

    void addWithWords(const char* name, const char* about, const char* words, const char* about_words,
                      int (*perform)(const Session&, const std::vector<std::string>&)) {
        auto* const command = add(name, about, [this, perform](Session& session) { return perform(session, _words); });
        command->add_option(words, _words, about_words)->required()->type_name("");
    }

    void addNotifications() {
        auto* const listen =
            add("listen", "take change-status and expire datagrams and print them as they come",
                [this](Session& session) { return neighbour::listen_for_notifications(session, _listen); });
        listen->add_option("--listen-port", _listen.port,
                           "port, 0 for a free one (default: as attached with, else 45201)");
        listen->add_option("--count", _listen.count, "end after so many datagrams");
        listen->add_option("--for", _listen.seconds, "end after so many seconds")->check(forAsLong);
        add_listen_options(*listen, _settings);

        auto* const watch = add("watch", "show the home live; attaches first when --user is given",
                                [this](Session& session) { return neighbour::watch(session, _watch); });
        add_attach_options(*watch, _watch.attach, false);
        watch->add_option("--for", _watch.seconds, "end after so many seconds (default: with Ctrl-C)")
            ->check(forAsLong);
        add_listen_options(*watch, _settings);
    }

    CLI::App _app{description, "neighbour"};
    Settings _settings;
    bool _plain = false;
    Action _chosen;
    AttachFields _attach;
    bool _clearAll = false;
    std::string _file;
    long long _context = -1;
    bool _tree = false;
    std::vector<std::string> _words;
    neighbour::ListenOptions _listen;
    neighbour::WatchOptions _watch;
};

}  // namespace

int main(int argc, char** argv) {
    try {
        // A reader of our output that goes away, and a peer that does, are told by the write's result.
        std::signal(SIGPIPE, SIG_IGN);
        CommandLine commandLine;
        return commandLine.run(argc, argv);
    } catch (const std::exception& problem) {
        // Not least a text from the command line that is not UTF-8 and so cannot be sent.
        std::fprintf(stderr, "neighbour: %s\n", problem.what());
        return neighbour::status::usage;
    }
}
