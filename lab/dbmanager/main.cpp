// dbmanager: the controller's database service, over a SQLite file.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <iostream>
#include <string>

#include "common/database.h"
#include "common/eventloop.h"
#include "common/faults.h"
#include "common/journal.h"
#include "common/sockets.h"
#include "common/text.h"
#include "common/textserver.h"
#include "dbmanager/builtinsql.h"
#include "dbmanager/dbservice.h"

namespace {

struct Options {
    std::string database = "home.db";
    std::string schema;
    std::string home;
    std::string journal;
    std::string faults;
    uint16_t port = 45168;
};

// The file's text, or the built-in one when no file is named.
std::string script(const std::string& path, const char* builtin) {
    return path.empty() ? builtin : lab::file_text(path);
}

int fail(const std::string& problem) {
    std::cerr << "dbmanager: " << problem << std::endl;
    return 1;
}

int serve(const Options& options) {
    const std::string created = lab::create_database(
        options.database, {script(options.schema, lab::builtin_schema), script(options.home, lab::builtin_home)});
    if (!created.empty()) return fail(created);
    lab::Database database(options.database);
    if (!database.good()) return fail(database.problem());
    lab::Journal journal(options.journal);
    if (!journal.good()) return fail("cannot write the journal " + options.journal);
    std::string problem;
    auto listener = lab::listen_on_port(options.port, lab::Reach::thisMachine, problem);
    if (!listener.valid()) return fail(problem);
    lab::EventLoop loop;
    lab::FaultPlan faults(options.faults);
    lab::DbService service(database, journal);
    const lab::TextServer server(loop, std::move(listener), faults, service);
    std::cout << "dbmanager: listening on 127.0.0.1:" << options.port << ", database " << options.database << std::endl;
    loop.run();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        CLI::App app("The controller's database service: answers SQL statements over TCP on this machine.\n");
        app.add_option("--database", options.database, "SQLite file; made with the demo home when it is not there")
            ->capture_default_str();
        app.add_option("--schema", options.schema, "SQL that makes the tables (default: built in)")
            ->check(CLI::ExistingFile);
        app.add_option("--home", options.home, "SQL that fills them (default: the demo home, built in)")
            ->check(CLI::ExistingFile);
        app.add_option("--journal", options.journal, "append a line per request: TYPE, tab, statement");
        app.add_option("--faults", options.faults, "file of faults to commit, see below");
        app.add_option("--port", options.port, "TCP port on 127.0.0.1")->capture_default_str();
        app.footer(lab::fault_help);
        CLI11_PARSE(app, argc, argv)
        return serve(options);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
