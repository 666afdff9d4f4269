// Plays docs/protocol.md: in a sandbox with the lab's services, each request of the page is sent to the built program
// in the page's order, what the page says about the controller is done, and each answer and notification is compared
// with the page, byte for byte.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "document.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* begin = R"sh(
cd /tmp
wait_for() { for i in $(seq 200); do "$@" && return; sleep 0.05; done; echo "waited in vain: $*"; exit 1; }
ask() { neighbour --raw send /output/request.$1 >/output/answer.$1; }
came() { [ "$(wc -l </output/notifications)" -ge "$1" ]; }
takes_connections() { (exec 3<>/dev/tcp/127.0.0.1/45200) 2>/dev/null; }
dbmanager --database home.db >dbmanager.out 2>&1 &
wait_for grep -q listening dbmanager.out
fsmcore --database home.db >fsmcore.out 2>&1 &
wait_for grep -q "takes calls" fsmcore.out
wait_for takes_connections
neighbour listen --raw --listen-port 45201 >/output/notifications 2>listen.err &
wait_for grep -q listening listen.err
)sh";

// The text that travels: the page shows it with line breaks.
std::string on_the_wire(const std::string& shown) {
    return nlohmann::ordered_json::parse(shown).dump();
}

// What the page expects, and the script that makes it happen.
struct Session {
    std::vector<std::string> requests;
    std::vector<std::string> answers;
    std::vector<std::string> notifications;
    std::string script = begin;
};

Session read_session() {
    Session session;
    for (const document::Block& block : document::blocks_of("docs/protocol.md")) {
        if (block.label == "at the controller") {
            std::istringstream lines(block.text);
            for (std::string line; std::getline(lines, line);)
                if (line.starts_with("$ ")) session.script += line.substr(2) + "\n";
        }
        if (block.language != "json" || block.label == "schema: expire-request") continue;
        const std::string text = on_the_wire(block.text);
        if (block.label == "schema: changestatus-request") {
            session.notifications.push_back(text);
            session.script += "wait_for came " + std::to_string(session.notifications.size()) + "\n";
        } else if (block.label.ends_with("-response")) {
            session.answers.push_back(text);
        } else {
            session.script += "ask " + std::to_string(session.requests.size()) + "\n";
            session.requests.push_back(text);
        }
    }
    session.script += "exit 0\n";
    return session;
}

std::vector<std::string> lines_of(const fs::path& file) {
    std::vector<std::string> lines;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

class Folder {
  public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "m2m-session-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr) path_ = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        if (!path_.empty()) fs::remove_all(path_, ignored);
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

TEST(ProtocolSession, IsWhatTheProgramSays) {
    const Session session = read_session();
    ASSERT_FALSE(session.requests.empty());
    ASSERT_EQ(session.requests.size(), session.answers.size()) << "a request of the page without an answer";

    const Folder folder;
    ASSERT_FALSE(folder.path().empty());
    for (std::size_t i = 0; i < session.requests.size(); ++i)
        std::ofstream(folder.path() / ("request." + std::to_string(i))) << session.requests[i];
    std::ofstream(folder.path() / "script") << session.script;

    const std::string command = "'" + (document::project() / "lab/sandbox").string() +
                                "' --build '" M2M_BUILD_DIR "' --output '" + folder.path().string() +
                                "' bash /output/script >'" + (folder.path() / "said").string() + "' 2>&1";
    const int status = std::system(command.c_str());
    std::ostringstream said;
    said << std::ifstream(folder.path() / "said").rdbuf();
    EXPECT_EQ(status, 0) << said.str();

    for (std::size_t i = 0; i < session.answers.size(); ++i) {
        std::ostringstream answer;
        answer << std::ifstream(folder.path() / ("answer." + std::to_string(i))).rdbuf();
        EXPECT_EQ(answer.str(), session.answers[i]) << "to " << session.requests[i];
    }
    EXPECT_EQ(lines_of(folder.path() / "notifications"), session.notifications);
}

}  // namespace
