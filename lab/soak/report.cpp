#include "report.h"

#include <algorithm>
#include <cstdio>

namespace soak {

namespace {

double milliseconds(std::chrono::microseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

void print_kinds(const Load& load) {
    std::printf("\n%-26s %10s %10s %10s %12s\n", "DATAGRAMS", "SENT", "FAILED", "SURPRISES", "SLOWEST, ms");
    std::chrono::microseconds slowest{0};
    long failed = 0;
    for (const Tally& tally : load.tallies()) {
        const long meant = tally.meantToFail ? tally.sent - tally.unexpected : 0;
        failed += meant;
        slowest = std::max(slowest, tally.slowest);
        std::printf("%-26s %10ld %10ld %10ld %12.1f\n", tally.kind, tally.sent, meant, tally.unexpected,
                    milliseconds(tally.slowest));
    }
    std::printf("%-26s %10ld %10ld %10ld %12.1f\n", "all", load.sent(), failed, load.unexpected(),
                milliseconds(slowest));
}

bool say(bool wrong, const char* what) {
    if (wrong) std::printf("WRONG: %s\n", what);
    return !wrong;
}

}  // namespace

bool report(const Load& load, const Course& course) {
    print_kinds(load);
    const double seconds = std::chrono::duration<double>(course.time).count();
    std::printf("\n%.0f s, %.0f datagrams per second; %ld notifications for %ld calls and the actions, %ld bad\n",
                seconds, static_cast<double>(load.sent()) / std::max(seconds, 0.001), course.notifications,
                load.callsUnderstood(), course.badNotifications);
    std::printf("\n%-26s %10s %10s %10s %10s\n", "THE PROGRAM", "START", "WARM", "END", "GROWTH");
    const long grown = course.end.residentKilobytes - course.warm.residentKilobytes;
    const long opened = course.end.descriptors - course.warm.descriptors;
    std::printf("%-26s %10ld %10ld %10ld %10ld\n", "resident memory, kB", course.start.residentKilobytes,
                course.warm.residentKilobytes, course.end.residentKilobytes, grown);
    std::printf("%-26s %10ld %10ld %10ld %10ld\n", "descriptors", course.start.descriptors, course.warm.descriptors,
                course.end.descriptors, opened);
    std::printf("(warm after %ld datagrams; growth of more than %ld kB or of any descriptor is wrong)\n\n",
                course.warmAfter, tolerableGrowthKilobytes);

    for (const std::string& surprise : load.surprises()) std::printf("surprise: %s\n", surprise.c_str());
    bool good = say(course.ended, "the program ended");
    good = say(load.unexpected() > 0, "there were surprises") && good;
    good = say(course.badNotifications > 0 || course.notifications < load.callsUnderstood(),
               "notifications were lost or broken") &&
           good;
    good = say(grown > tolerableGrowthKilobytes, "memory has grown") && good;
    good = say(opened > 0, "descriptors were left open") && good;
    if (good) std::printf("Nothing wrong.\n");
    return good;
}

}  // namespace soak
