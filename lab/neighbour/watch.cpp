#include "neighbour/watch.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iostream>

#include "cbase/timedio.h"
#include "neighbour/commands.h"
#include "neighbour/home.h"
#include "neighbour/listener.h"
#include "neighbour/output.h"
#include "neighbour/status.h"

namespace neighbour {
namespace {

volatile std::sig_atomic_t interrupted = 0;  // NOLINT: written by a signal handler

void note_interrupt(int /*signal*/) {
    interrupted = 1;
}
void note_resize(int /*signal*/) {}  // it is enough that poll returns

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

// Shows the home; what it leaves on a terminal is cleaned up with it.
class Screen {
  public:
    Screen(const std::vector<HomeObject>& home, std::string title)
        : _home(home), _title(std::move(title)), _terminal(isatty(STDOUT_FILENO) == 1) {
        if (_terminal) std::cout << "\033[?1049h\033[?25l";  // a screen of its own, no cursor
        draw({}, {_title});
    }
    ~Screen() {
        if (_terminal) std::cout << "\033[?25h\033[?1049l" << std::flush;
    }
    Screen(Screen&&) = delete;  // nor copied

    void redraw() {
        if (_terminal) drawTerminal();
    }
    void draw(const std::set<long long>& changed, const std::vector<std::string>& news) {
        if (_terminal) {
            _changed = changed;
            _news = news;
            drawTerminal();
            return;
        }
        for (const std::string& line : news) std::cout << line << '\n';
        if (!_drawn) {
            for (const std::string& line : table_lines(home_rows(_home))) std::cout << line << '\n';
        }
        _drawn = true;
        std::cout << std::flush;
    }

  private:
    void drawTerminal() {
        winsize size{};
        if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) < 0 || size.ws_row == 0 || size.ws_col == 0) {
            size.ws_row = 24;
            size.ws_col = 80;
        }
        std::vector<std::string> lines{_title, ""};
        for (std::string& line : table_lines(home_rows(_home, _changed))) lines.push_back(std::move(line));
        // The news stands on the last line; a home longer than the screen loses its end.
        if (lines.size() + 1 > size.ws_row) lines.resize(std::max<std::size_t>(size.ws_row, 2) - 1);
        std::cout << "\033[H";
        for (const std::string& line : lines) std::cout << clipped(line, size.ws_col) << "\033[K\n";
        std::cout << "\033[J\033[1m" << clipped(joined(_news, "; "), size.ws_col) << "\033[0m" << std::flush;
    }

    const std::vector<HomeObject>& _home;
    std::string _title;
    bool _terminal;
    bool _drawn = false;
    std::set<long long> _changed;
    std::vector<std::string> _news;
};

bool is_expiry(const std::string& bytes) {
    const auto datagram = decode(bytes);
    return datagram && text_member(*datagram, "function") == "expire";
}

// True when the controller ended it: the attachment is withdrawn.
bool follow(const Listener& listener, Screen& screen, std::vector<HomeObject>& home, const WatchOptions& options,
            const Settings& settings) {
    // Signals arrive while poll waits and at no other time: none is lost between the test and the wait.
    sigset_t taken{};
    sigset_t before{};
    sigemptyset(&taken);
    for (const int signal : {SIGINT, SIGTERM, SIGWINCH}) sigaddset(&taken, signal);
    sigprocmask(SIG_BLOCK, &taken, &before);
    const timedio::Deadline end = end_after(options.seconds);
    while (interrupted == 0 && std::cout && timedio::Clock::now() < end) {
        pollfd wanted{listener.descriptor(), POLLIN, 0};
        const auto left = std::min<timedio::Clock::duration>(end - timedio::Clock::now(), std::chrono::hours(1));
        using Nanoseconds = std::chrono::duration<long, std::nano>;
        const timespec patience{std::chrono::duration_cast<std::chrono::duration<time_t>>(left).count(),
                                std::chrono::duration_cast<Nanoseconds>(left % std::chrono::seconds(1)).count()};
        const int ready = ppoll(&wanted, 1, &patience, &before);
        if (ready < 0 && errno == EINTR) screen.redraw();
        if (ready <= 0) continue;
        std::string problem;
        const std::string datagram = listener.receive(settings.timeout(), problem);
        if (!problem.empty()) screen.draw({}, {"a connection failed: " + printable(problem)});
        if (datagram.empty()) continue;
        const auto news = decode(datagram);
        const std::set<long long> changed = news ? take_over_values(home, objects_of(*news)) : std::set<long long>{};
        screen.draw(changed, describe_notification(datagram, home));
        if (is_expiry(datagram)) return true;
    }
    return false;
}

}  // namespace

int watch(Session& session, WatchOptions options) {
    const Settings& settings = session.settings();
    if (options.attach.user.empty() && !session.hasToken()) {
        std::cerr << "neighbour: not attached: give --user and --password, or attach first\n";
        return status::usage;
    }
    complete(options.attach, session);
    // Before anything else: from the first register on the controller may call.
    std::string problem;
    const auto listener = Listener::open(options.attach.listenPort, settings.tls, problem);
    if (!listener) {
        std::cerr << "neighbour: " << problem << '\n';
        return status::usage;
    }
    options.attach.listenPort = listener->port();
    if (!options.attach.user.empty()) {
        if (const int status = session.attach(options.attach); status != 0) return status;
    }
    std::vector<HomeObject> home;
    if (const int status = session.discoverHome(home); status != 0) return status;
    if (const int status = session.registerFor(all_ids(home)); status != 0) return status;

    handle(SIGINT, note_interrupt);
    handle(SIGTERM, note_interrupt);
    handle(SIGWINCH, note_resize);
    bool withdrawn = false;
    {
        Screen screen(home, "Home of " + printable(session.identity().target) + ", live; Ctrl-C ends");
        withdrawn = follow(*listener, screen, home, options, settings);
    }
    // The screen took its last words with it.
    if (withdrawn && isatty(STDOUT_FILENO) == 1)
        std::cout << "the controller has withdrawn the attachment" << std::endl;
    return status::success;
}

}  // namespace neighbour
