#include "support/catching.h"

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include "cbase/descriptor.h"
#include "cbase/jsontext.h"

std::string console_of(const std::function<void()>& action) {
    std::fflush(stdout);
    const Descriptor file(memfd_create("console", MFD_CLOEXEC));
    const Descriptor console(dup(STDOUT_FILENO));
    dup2(file.get(), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(console.get(), STDOUT_FILENO);
    std::string text(static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(file.get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

// A line is "\033[1;31m<12>\033[0;39m \033[0;31mvelklib MESSAGE\033[0;39m\n" or "\033[1;30m\033[0;39m MESSAGE\n".
Texts messages_of(const std::function<void()>& action) {
    const std::string begin = "\n\033[1;";
    const std::string end = "\033[0;39m";
    const std::string text = "\n" + console_of(action);
    Texts messages;
    for (std::size_t at = text.find(begin), next = 0; at < text.size() - 1; at = next) {
        next = std::min(text.find(begin, at + 1), text.size() - 1);
        const std::size_t start = text.find(end, at) + end.size() + 1;
        std::string message = text.substr(start, next - start);
        if (message.starts_with("\033[0;")) message.erase(0, message.find('m') + 1);
        if (text.compare(at + 5, 2, "34") != 0 && message.starts_with("velklib ")) message.erase(0, 8);
        if (message.ends_with(end)) message.resize(message.size() - end.size());
        messages.push_back(message);
    }
    return messages;
}

std::string wire(json_t* value) {
    const Json owner(value);
    EXPECT_TRUE(nlohmann::json::accept(dump(value))) << dump(value);
    return dump(value);
}

nlohmann::json cases(const std::string& file, const char* name) {
    std::ifstream input(file.substr(0, file.rfind("_test.cpp")) + ".json");
    return nlohmann::json::parse(input).at(name);
}

void send_pieces(int fd, const Texts& pieces) {
    for (const std::string& piece : pieces) {
        send(fd, piece.data(), piece.size(), MSG_NOSIGNAL);
        int unread = 1;
        while (&piece != &pieces.back() && unread > 0 && ioctl(fd, SIOCOUTQ, &unread) == 0) std::this_thread::yield();
    }
}

std::string own_path(const std::string& name) {
    struct Folder {
        std::string path = testing::TempDir() + "m2m-tests-" + std::to_string(getpid());
        Folder() { std::filesystem::create_directories(path); }
        ~Folder() { std::filesystem::remove_all(path); }
    };
    static const Folder folder;
    return folder.path + "/" + name;
}
