// A whole session with a client handler over plain TCP. The input is a play of lines; the first character says what a
// line is:
//   *        someone at the controller enables the neighbour
//   ~VALUE   the core reports that object VALUE has changed
//   #TEXT    the next payload of DBManager is TEXT (\n, \t, \\, \0, \xHH are understood)
//   !TEXT    the next answer of DBManager is exactly TEXT, length line and all; then it closes
//   @TEXT    the next answer of the core is exactly TEXT
//   $        the neighbour connects, says nothing and leaves
// and every other line is a datagram.
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <thread>
#include <vector>

#include "cbase/cstylecode_sockets.h"
#include "cbase/result.h"
#include "common/text.h"
#include "dbmanager/dbprotocol.h"
#include "fuzztarget.h"
#include "gateway/callfromcoreparameters.h"
#include "m2m/m2mclienthandler.h"
#include "model/m2mremotableobject.h"
#include "standins.h"

namespace {

constexpr int port = 20200;  // below those that the kernel gives to outgoing connections
constexpr int mostLines = 32;

// Open sockets: all that a session can leave behind, and nothing that libFuzzer opens and closes beside it.
long open_sockets() {
    constexpr int most = 256;
    long count = 0;
    for (int fd = 0; fd < most; ++fd) {
        struct stat status {};
        if (fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode)) ++count;
    }
    return count;
}

// A stand-in may be about to close a connection that the program is done with.
bool sockets_settle_at(long count) {
    constexpr int milliseconds = 5000;
    for (int i = 0; i < milliseconds; ++i) {
        if (open_sockets() <= count) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// Those that are open between two sessions.
long sockets_at_rest() {
    constexpr std::chrono::milliseconds rest{200};
    std::this_thread::sleep_for(rest);
    return open_sockets();
}

// One row of each cache, read from a proper home: inputs that come later find the caches as the first one did.
void fill_caches() {
    for (long id = 1; id <= 6; ++id) {
        M2MRendering::getNewRendering(id);
        M2MObjectCategory::getNewObjectCategory(id);
    }
}

fuzz::StandIns& stand_ins() {
    static fuzz::StandIns standIns;
    static const bool ready = [] {
        standIns.reset();
        fill_caches();
        return true;
    }();
    static_cast<void>(ready);
    return standIns;
}

std::string read_to_end(int fd) {
    std::string text;
    std::array<char, 16384> block;
    for (;;) {
        const ssize_t count = recv(fd, block.data(), block.size(), 0);
        if (count <= 0) return text;
        text.append(block.data(), static_cast<std::size_t>(count));
    }
}

// The neighbour sends one datagram and hears the answer; the handler's code.
int exchange(M2MClientHandler& client, const std::string& datagram) {
    const Descriptor peer(make_internettcpclient_socket("127.0.0.1", port));
    fuzz::require(peer.valid(), "the handler listens");
    send(peer.get(), datagram.data(), datagram.size(), MSG_NOSIGNAL);
    shutdown(peer.get(), SHUT_WR);
    const int code = client.didReceiveCustomGatewayData(nullptr, client.getListeningSocket());
    const std::string answer = read_to_end(peer.get());
    if (!answer.empty()) {
        const auto json = nlohmann::json::parse(answer, nullptr, false);
        fuzz::require(json.is_object() && json.contains("result"), "an answer is a JSON object with a result");
    }
    return code;
}

// Plays one line; false when the process would end now.
bool play(M2MClientHandler& client, const std::string& line) {
    auto& services = stand_ins();
    const std::string rest = line.empty() ? line : line.substr(1);
    switch (line.empty() ? '$' : line[0]) {
        case '*':
            services.sql("UPDATE KOVAD_NEIGHBOUR SET ENABLE_FLAG='1'");
            return true;
        case '~': {
            callfromcoreparametersnamespace::CallFromCoreParameters call(101, "NO-VALUE", "CHANGESTATUS", rest.c_str(),
                                                                         "NO-VALUE", "");
            client.didReceiveCallFromCore(nullptr, &call);
            return true;
        }
        case '#':
            services.dictateDatabase(lab::compose_db_answer(lab::unescaped(rest), 0));
            return true;
        case '!':
            services.dictateDatabase(lab::unescaped(rest));
            return true;
        case '@':
            services.dictateCore(lab::unescaped(rest));
            return true;
        case '$':
            return exchange(client, "") != result::endRunner;
        default:
            return exchange(client, line) != result::endRunner;
    }
}

void run_session(std::string lines) {
    std::vector<std::string> words{
        "m2mclientmanager", "--first-run", "--listen-for-attach-on-port", std::to_string(port), "--id", "40",
        "--noSSL"};
    std::vector<char*> arguments;
    arguments.reserve(words.size());
    for (std::string& word : words) arguments.push_back(word.data());
    M2MClientHandler client(static_cast<int>(arguments.size()), arguments.data());
    for (int i = 0; i < mostLines && !lines.empty(); ++i) {
        const bool goesOn = play(client, fuzz::take_line(lines));
        stand_ins().hearNotifications();
        if (!goesOn) return;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    stand_ins().reset();
    std::srand(1);  // tokens and message IDs are drawn alike for each input
    static const long sockets = sockets_at_rest();
    run_session(fuzz::bytes_of(data, size));
    M2MRemotableObject::deleteCache();
    fuzz::require(sockets_settle_at(sockets), "a session leaves no socket open");
    return 0;
}
