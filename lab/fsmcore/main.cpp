// fsmcore: the controller's core service. Checks logins, acts on the home's objects, keeps the runners.
#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <string>

#include "common/database.h"
#include "common/eventloop.h"
#include "common/faults.h"
#include "common/journal.h"
#include "common/sockets.h"
#include "common/textserver.h"
#include "fsmcore/coreservice.h"
#include "fsmcore/objects.h"
#include "fsmcore/runnercalls.h"
#include "fsmcore/runners.h"

namespace {

struct Options {
    std::string database = "home.db";
    std::string socket = "/tmp/kova_variables/sockets/kova_fsmcore.socket";
    std::string journal;
    std::string faults;
    bool length_managed = false;
    lab::RunnerSettings runners;
};

int fail(const std::string& problem) {
    std::cerr << "fsmcore: " << problem << std::endl;
    return 1;
}

int serve(const Options& options) {
    lab::Database database(options.database);
    if (!database.good()) return fail(database.problem() + " (dbmanager makes the database: start it first)");
    lab::Journal journal(options.journal);
    if (!journal.good()) return fail("cannot write the journal " + options.journal);
    std::string problem;
    auto listener = lab::listen_on_path(options.socket, problem);
    if (!listener.valid()) return fail(problem);
    lab::EventLoop loop;
    lab::FaultPlan faults(options.faults);
    lab::Objects objects(database);
    lab::Runners runners(loop, database, options.runners);
    lab::RunnerCalls calls(loop, journal, options.length_managed);
    lab::CoreService service(objects, runners, calls, journal);
    const lab::TextServer server(loop, std::move(listener), faults, service);
    loop.on_child_ended([&] { runners.reap(); });
    loop.on_stop([&] { runners.stop([&] { loop.stop(); }); });
    std::cout << "fsmcore: listening on " << options.socket << ", database " << options.database << std::endl;
    runners.start_all();
    loop.run();
    ::unlink(options.socket.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        long long restart_delay = options.runners.restart_delay.count();
        CLI::App app("The controller's core service: logins, actions on the home's objects, runners.\n");
        app.add_option("--database", options.database, "the SQLite file that dbmanager serves")->capture_default_str();
        app.add_option("--socket", options.socket, "Unix-domain socket; its folders are made")->capture_default_str();
        app.add_option("--journal", options.journal,
                       "append a line per request: FUNCTION and parameters, divided by tabs;\n"
                       "CALL, runner, port and parameters for a call sent to a runner; REPLY, runner, port, outcome");
        app.add_option("--faults", options.faults, "file of faults to commit, see below");
        app.add_option("--program", options.runners.program, "start this instead of the runners' own program");
        app.add_option("--runner-log", options.runners.log_file, "append the runners' output here (default: print it)");
        app.add_option("--restart-delay", restart_delay,
                       "milliseconds before a failed runner is started again; doubles each time, up to 10 s")
            ->capture_default_str()
            ->check(CLI::NonNegativeNumber);
        app.add_flag("--no-runners", options.runners.none,
                     "start no runners; calls still go to the port in a runner's row");
        app.add_flag("--length-managed", options.length_managed, "begin calls to runners with their length line");
        app.footer(lab::fault_help);
        CLI11_PARSE(app, argc, argv)
        options.runners.restart_delay = std::chrono::milliseconds(restart_delay);
        return serve(options);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
