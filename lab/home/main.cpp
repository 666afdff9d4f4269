// home: what the controller's web interface would do, as a command.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "home/context.h"
#include "home/neighbours.h"
#include "home/objects.h"
#include "home/runners.h"
#include "home/users.h"

namespace {

struct Options {
    std::string database = "home.db";
    std::string socket = "/tmp/kova_variables/sockets/kova_fsmcore.socket";
    std::string name;
    std::string password;
    std::vector<std::string> groups;
    std::string id;
    std::string action;
    std::string value;
    bool quiet = false;
    std::string attach;
    uint16_t port = 0;
    bool no_ssl = false;
    bool no_start = false;
    std::string sql;
};

using Command = std::function<int(lab::Context&)>;

// Each adds its subcommands; parsing one sets `chosen`.

void add_user_commands(CLI::App& app, Options& o, Command& chosen) {
    app.add_subcommand("users", "list the users and their groups")->callback([&] { chosen = lab::list_users; });
    CLI::App* user = app.add_subcommand("user", "add, remove or change a user")->require_subcommand(1);

    CLI::App* add = user->add_subcommand("add", "add a user that neighbours may attach as");
    add->add_option("NAME", o.name)->required();
    add->add_option("PASSWORD", o.password)->required();
    add->add_option("--group", o.groups, "a user group to belong to, name or ID; may be repeated");
    add->callback([&] { chosen = [&](auto& c) { return lab::add_user(c, o.name, o.password, o.groups); }; });

    CLI::App* remove = user->add_subcommand("remove", "remove a user");
    remove->add_option("NAME", o.name)->required();
    remove->callback([&] { chosen = [&](auto& c) { return lab::remove_user(c, o.name); }; });

    CLI::App* password = user->add_subcommand("password", "change a user's password");
    password->add_option("NAME", o.name)->required();
    password->add_option("PASSWORD", o.password)->required();
    password->callback([&] { chosen = [&](auto& c) { return lab::set_password(c, o.name, o.password); }; });
}

void add_object_commands(CLI::App& app, Options& o, Command& chosen) {
    app.add_subcommand("objects", "list the home's objects")->callback([&] { chosen = lab::list_objects; });
    CLI::App* object = app.add_subcommand("object", "change an object's value")->require_subcommand(1);

    CLI::App* set = object->add_subcommand("set", "set a value; the neighbours that follow the object are told");
    set->add_option("ID", o.id)->required();
    set->add_option("VALUE", o.value)->required();
    set->add_flag("--quiet", o.quiet, "change the database only: no check, nobody is told, fsmcore is not needed");
    set->callback([&] {
        chosen = [&](auto& c) {
            return o.quiet ? lab::set_quietly(c, o.id, o.value) : lab::act_on_object(c, o.id, "set", o.value);
        };
    });

    CLI::App* act = object->add_subcommand("do", "perform an action: turn-on, turn-off, toggle, up, down, step N");
    act->add_option("ID", o.id)->required();
    act->add_option("ACTION", o.action)->required();
    act->add_option("VALUE", o.value);
    act->callback([&] { chosen = [&](auto& c) { return lab::act_on_object(c, o.id, o.action, o.value); }; });
}

void add_neighbour_commands(CLI::App& app, Options& o, Command& chosen) {
    app.add_subcommand("neighbours", "list the neighbours")->callback([&] { chosen = lab::list_neighbours; });
    CLI::App* neighbour = app.add_subcommand("neighbour", "enable, disable or remove one")->require_subcommand(1);

    CLI::App* enable = neighbour->add_subcommand("enable", "serve this neighbour (a new one is stored disabled)");
    enable->add_option("NEIGHBOUR", o.id, "ID or UID")->required();
    enable->callback([&] { chosen = [&](auto& c) { return lab::enable_neighbour(c, o.id, true); }; });

    CLI::App* disable = neighbour->add_subcommand("disable", "stop serving this neighbour");
    disable->add_option("NEIGHBOUR", o.id, "ID or UID")->required();
    disable->callback([&] { chosen = [&](auto& c) { return lab::enable_neighbour(c, o.id, false); }; });

    CLI::App* remove = neighbour->add_subcommand("remove", "remove it, its client browser, relations and runners");
    remove->add_option("NEIGHBOUR", o.id, "ID or UID")->required();
    remove->callback([&] { chosen = [&](auto& c) { return lab::remove_neighbour(c, o.id); }; });

    CLI::App* attach = app.add_subcommand("attach", "may new neighbours attach? on or off; shows it without");
    attach->add_option("SWITCH", o.attach)->check(CLI::IsMember({"on", "off"}));
    attach->callback([&] {
        chosen = [&](auto& c) {
            return lab::switch_attach(c, o.attach.empty() ? std::nullopt : std::optional(o.attach == "on"));
        };
    });
}

void add_runner_commands(CLI::App& app, Options& o, Command& chosen) {
    app.add_subcommand("runners", "list the runners")->callback([&] { chosen = lab::list_runners; });
    CLI::App* runner = app.add_subcommand("runner", "add, start, quit or remove a runner")->require_subcommand(1);

    CLI::App* add = runner->add_subcommand("add", "add a runner that waits for a neighbour's first attach");
    add->add_option("--port", o.port, "port that the neighbour connects to")->required()->check(CLI::PositiveNumber);
    add->add_flag("--no-ssl", o.no_ssl, "plain TCP");
    add->add_flag("--no-start", o.no_start, "only store it");
    add->callback([&] { chosen = [&](auto& c) { return lab::add_runner(c, o.port, !o.no_ssl, !o.no_start); }; });

    CLI::App* start = runner->add_subcommand("start", "ask fsmcore to start it");
    start->add_option("ID", o.id)->required();
    start->callback([&] { chosen = [&](auto& c) { return lab::command_runner(c, o.id, "RUN"); }; });

    CLI::App* quit = runner->add_subcommand("quit", "ask fsmcore to end it");
    quit->add_option("ID", o.id)->required();
    quit->callback([&] { chosen = [&](auto& c) { return lab::command_runner(c, o.id, "QUIT"); }; });

    CLI::App* remove = runner->add_subcommand("remove", "end it and remove its record");
    remove->add_option("ID", o.id)->required();
    remove->callback([&] { chosen = [&](auto& c) { return lab::remove_runner(c, o.id); }; });
}

void add_views(CLI::App& app, Options& o, Command& chosen) {
    app.add_subcommand("relations", "list all relations")->callback([&] { chosen = lab::list_relations; });
    CLI::App* sql = app.add_subcommand("sql", "run SQL on the home's database");
    sql->add_option("STATEMENTS", o.sql)->required();
    sql->callback([&] { chosen = [&](auto& c) { return lab::run_sql(c, o.sql); }; });
}

}  // namespace

int main(int argc, char** argv) {
    try {
        Options options;
        Command chosen;
        CLI::App app("The home's own interface: its users, objects, neighbours and runners.\n");
        app.add_option("--database", options.database, "the SQLite file that dbmanager serves")->capture_default_str();
        app.add_option("--socket", options.socket, "fsmcore's socket")->capture_default_str();
        app.require_subcommand(1);
        app.fallthrough();
        app.footer(
            "home COMMAND --help says more. Typical: home neighbours; home neighbour enable 1; "
            "home object set 20 1");
        add_user_commands(app, options, chosen);
        add_object_commands(app, options, chosen);
        add_neighbour_commands(app, options, chosen);
        add_runner_commands(app, options, chosen);
        add_views(app, options, chosen);
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return app.exit(error);
        }
        lab::Database database(options.database);
        if (!database.good()) {
            return lab::complain(database.problem());
        }
        lab::Context context{database, options.socket};
        return chosen(context);
    } catch (const std::exception& error) {
        return lab::complain(error.what());
    }
}
