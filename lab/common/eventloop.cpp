#include "common/eventloop.h"

#include <sys/epoll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <array>
#include <csignal>

namespace lab {

namespace {

// The generation tells a descriptor from an earlier one of the same number whose event is still in the batch.
uint64_t key_of(int fd, uint32_t generation) {
    return (static_cast<uint64_t>(generation) << 32U) | static_cast<uint32_t>(fd);
}

}  // namespace

EventLoop::EventLoop() : epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t taken;
    sigemptyset(&taken);
    sigaddset(&taken, SIGTERM);
    sigaddset(&taken, SIGINT);
    sigaddset(&taken, SIGCHLD);
    sigprocmask(SIG_BLOCK, &taken, nullptr);
    signals_.reset(::signalfd(-1, &taken, SFD_NONBLOCK | SFD_CLOEXEC));
    watch(signals_.get(), EPOLLIN, [this](uint32_t) { take_signals(); });
}

void EventLoop::watch(int fd, uint32_t events, Ready ready) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = key_of(fd, ++generation_);
    watches_[fd] = {generation_, std::make_shared<Ready>(std::move(ready))};
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event);
}

void EventLoop::change(int fd, uint32_t events) {
    const auto found = watches_.find(fd);
    if (found != watches_.end()) {
        epoll_event event{};
        event.events = events;
        event.data.u64 = key_of(fd, found->second.generation);
        ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &event);
    }
}

void EventLoop::unwatch(int fd) {
    if (watches_.erase(fd) > 0) ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);
}

EventLoop::TimerId EventLoop::after(std::chrono::milliseconds delay, std::function<void()> due) {
    const TimerId id(Clock::now() + delay, ++last_timer_);
    timers_.emplace(id, std::move(due));
    return id;
}

void EventLoop::cancel(const TimerId& timer) {
    timers_.erase(timer);
}

void EventLoop::on_child_ended(std::function<void()> ended) {
    child_ended_ = std::move(ended);
}

void EventLoop::on_stop(std::function<void()> stopping) {
    stopping_ = std::move(stopping);
}

int EventLoop::until_next_timer() const {
    if (timers_.empty()) return -1;
    const auto left = timers_.begin()->first.first - Clock::now();
    // Rounded up, so that the loop does not turn idly through the last millisecond.
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::clamp<long long>(milliseconds, 0, 60'000));
}

void EventLoop::run_due_timers() {
    // Timers set by a timer wait for the next turn: descriptors are served in between.
    const TimerId limit(Clock::now(), last_timer_);
    while (!timers_.empty() && timers_.begin()->first <= limit) {
        const std::function<void()> due = std::move(timers_.begin()->second);
        timers_.erase(timers_.begin());
        due();
    }
}

void EventLoop::take_signals() {
    signalfd_siginfo info{};
    while (::read(signals_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        if (info.ssi_signo == SIGCHLD) {
            if (child_ended_) child_ended_();
        } else if (stopping_) {
            stopping_();
        } else {
            stop();
        }
    }
}

void EventLoop::run() {
    std::array<epoll_event, 64> events{};
    while (running_) {
        const int count =
            ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), until_next_timer());
        for (int i = 0; i < count && running_; ++i) {
            const epoll_event& event = events.at(static_cast<size_t>(i));
            const auto fd = static_cast<int>(static_cast<uint32_t>(event.data.u64));
            const auto found = watches_.find(fd);
            if (found != watches_.end() && key_of(fd, found->second.generation) == event.data.u64) {
                // Held while it runs: a callback may unwatch its own descriptor.
                const auto ready = found->second.ready;
                (*ready)(event.events);
            }
        }
        run_due_timers();
    }
}

}  // namespace lab
