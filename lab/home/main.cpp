// home: what the controller's web interface would do, as a command.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "home/context.h"
#include "home/neighbours.h"
#include "home/objects.h"
#include "home/runners.h"
#include "home/users.h"

namespace {

// What the command line said; each command uses its own of these.
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

struct Word {
    const char* name;
    std::string& target;
    const char* about = "";
};

using Command = std::function<int(lab::Context&)>;

class CommandLine {
  public:
    CommandLine() {
        app_.add_option("--database", o.database, "the SQLite file that dbmanager serves")->capture_default_str();
        app_.add_option("--socket", o.socket, "fsmcore's socket")->capture_default_str();
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.footer(
            "home COMMAND --help says more. Typical: home neighbours; home neighbour enable 1; "
            "home object set 20 1");
        add_user_commands();
        add_object_commands();
        add_neighbour_commands();
        add_runner_commands();
        add(&app_, "relations", "list all relations", {}, lab::list_relations);
        add(&app_, "sql", "run SQL on the home's database", {{"STATEMENTS", o.sql}},
            [this](auto& c) { return lab::run_sql(c, o.sql); });
    }

    int run(int argc, char** argv) {
        CLI11_PARSE(app_, argc, argv)
        lab::Database database(o.database);
        if (!database.good()) return lab::complain(database.problem());
        lab::Context context{database, o.socket};
        return chosen_(context);
    }

  private:
    // A command of `parent` that takes these words, all of them required.
    CLI::App* add(CLI::App* parent, const char* name, const char* about, const std::vector<Word>& words,
                  Command command) {
        CLI::App* const added = parent->add_subcommand(name, about);
        for (const Word& word : words) added->add_option(word.name, word.target, word.about)->required();
        added->callback([this, command = std::move(command)] { chosen_ = command; });
        return added;
    }

    CLI::App* add_family(const char* name, const char* about) {
        return app_.add_subcommand(name, about)->require_subcommand(1);
    }

    void add_user_commands() {
        add(&app_, "users", "list the users and their groups", {}, lab::list_users);
        CLI::App* const user = add_family("user", "add, remove or change a user");
        add(user, "add", "add a user that neighbours may attach as", {{"NAME", o.name}, {"PASSWORD", o.password}},
            [this](auto& c) { return lab::add_user(c, o.name, o.password, o.groups); })
            ->add_option("--group", o.groups, "a user group to belong to, name or ID; may be repeated");
        add(user, "remove", "remove a user", {{"NAME", o.name}},
            [this](auto& c) { return lab::remove_user(c, o.name); });
        add(user, "password", "change a user's password", {{"NAME", o.name}, {"PASSWORD", o.password}},
            [this](auto& c) { return lab::set_password(c, o.name, o.password); });
    }

    void add_object_commands() {
        add(&app_, "objects", "list the home's objects", {}, lab::list_objects);
        CLI::App* const object = add_family("object", "change an object's value");
        add(object, "set", "set a value; the neighbours that follow the object are told",
            {{"ID", o.id}, {"VALUE", o.value}},
            [this](auto& c) {
                return o.quiet ? lab::set_quietly(c, o.id, o.value) : lab::act_on_object(c, o.id, "set", o.value);
            })
            ->add_flag("--quiet", o.quiet, "change the database only: no check, nobody is told, fsmcore is not needed");
        add(object, "do", "perform an action: turn-on, turn-off, toggle, up, down, step N",
            {{"ID", o.id}, {"ACTION", o.action}},
            [this](auto& c) { return lab::act_on_object(c, o.id, o.action, o.value); })
            ->add_option("VALUE", o.value);
    }

    void add_neighbour_commands() {
        const std::vector<Word> which{{"NEIGHBOUR", o.id, "ID or UID"}};
        add(&app_, "neighbours", "list the neighbours", {}, lab::list_neighbours);
        CLI::App* const neighbour = add_family("neighbour", "enable, disable or remove one");
        add(neighbour, "enable", "serve this neighbour (a new one is stored disabled)", which,
            [this](auto& c) { return lab::enable_neighbour(c, o.id, true); });
        add(neighbour, "disable", "stop serving this neighbour", which,
            [this](auto& c) { return lab::enable_neighbour(c, o.id, false); });
        add(neighbour, "remove", "remove it, its client browser, relations and runners", which,
            [this](auto& c) { return lab::remove_neighbour(c, o.id); });
        add(&app_, "attach", "may new neighbours attach? on or off; shows it without", {},
            [this](auto& c) {
                return lab::switch_attach(c, o.attach.empty() ? std::nullopt : std::optional(o.attach == "on"));
            })
            ->add_option("SWITCH", o.attach)
            ->check(CLI::IsMember({"on", "off"}));
    }

    void add_runner_commands() {
        const std::vector<Word> which{{"ID", o.id}};
        add(&app_, "runners", "list the runners", {}, lab::list_runners);
        CLI::App* const runner = add_family("runner", "add, start, quit or remove a runner");
        CLI::App* const runner_add =
            add(runner, "add", "add a runner that waits for a neighbour's first attach", {},
                [this](auto& c) { return lab::add_runner(c, o.port, !o.no_ssl, !o.no_start); });
        runner_add->add_option("--port", o.port, "port that the neighbour connects to")
            ->required()
            ->check(CLI::PositiveNumber);
        runner_add->add_flag("--no-ssl", o.no_ssl, "plain TCP");
        runner_add->add_flag("--no-start", o.no_start, "only store it");
        add(runner, "start", "ask fsmcore to start it", which,
            [this](auto& c) { return lab::command_runner(c, o.id, "RUN"); });
        add(runner, "quit", "ask fsmcore to end it", which,
            [this](auto& c) { return lab::command_runner(c, o.id, "QUIT"); });
        add(runner, "remove", "end it and remove its record", which,
            [this](auto& c) { return lab::remove_runner(c, o.id); });
    }

    CLI::App app_{"The home's own interface: its users, objects, neighbours and runners.\n"};
    Options o;
    Command chosen_;
};

}  // namespace

int main(int argc, char** argv) {
    try {
        return CommandLine().run(argc, argv);
    } catch (const std::exception& error) {
        return lab::complain(error.what());
    }
}
