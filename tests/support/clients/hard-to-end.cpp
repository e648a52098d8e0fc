// A program that takes being asked to end in its own way.
// usage: hard-to-end READY-FILE WAY [PROGRAM|MICROSECONDS]
//   obey    ends
//   ignore  doesn't hear it
//   fork    leaves a child of its own that doesn't hear it, and ends
//   swarm   doesn't hear it, and a child takes its place every 20 milliseconds for as long as
//           READY-FILE is there
//   relay   the same every MICROSECONDS, and at no time are there two
//   headless  ends, and its first thread has ended long before
//   threads  doesn't hear it, has two threads, and lets any program of its user watch it
//   turn    becomes PROGRAM, which sleeps
//   hide    doesn't hear it, and at SIGUSR1 lets nobody look at it any more
// READY-FILE holds the process id once it is ready; each signal heard adds a line "heard".
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <pthread.h>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>

namespace {

std::string way;
std::string program;
int report = -1;

void note(const char* text) {
    if (write(report, text, std::strlen(text)) < 0) {
        _exit(3);
    }
}

void noteReady() {
    note((std::to_string(getpid()) + "\n").c_str());
}

bool firstThreadHasEnded() {
    std::ifstream file("/proc/self/stat");
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    return text.find(") Z ") != std::string::npos;
}

void onTerm(int) {
    note("heard\n");
    if (way == "obey" || way == "headless") {
        _exit(0);
    }
    if (way == "fork") {
        if (fork() == 0) {
            signal(SIGTERM, SIG_IGN);
            for (;;) {
                pause();
            }
        }
        _exit(0);
    }
    if (way == "turn") {
        execl(program.c_str(), program.c_str(), "60", nullptr);
        _exit(4);
    }
}

/// For as long as READY-FILE is there; should a test end before it takes that away, for longer than
/// any test may take.
class Endurance {
public:
    explicit Endurance(const char* readyFile) : readyFile_(readyFile) {}
    bool goesOn() const {
        return access(readyFile_, F_OK) == 0 && std::chrono::steady_clock::now() < end_;
    }

private:
    const char* readyFile_;
    std::chrono::steady_clock::time_point end_ =
        std::chrono::steady_clock::now() + std::chrono::minutes(5);
};

/// The parent lives only until the child has forked: however one is ended, the next is there.
void swarm(const char* readyFile) {
    signal(SIGTERM, SIG_IGN);
    for (const Endurance endurance(readyFile); endurance.goesOn();) {
        if (fork() > 0) {
            usleep(10000);
            _exit(0);
        }
        usleep(20000);
    }
    _exit(0);
}

void relay(const char* readyFile) {
    signal(SIGTERM, SIG_IGN);
    const auto pace = static_cast<useconds_t>(std::stoul(program));
    for (const Endurance endurance(readyFile); endurance.goesOn();) {
        if (fork() > 0) {
            _exit(0);
        }
        if (pace > 0) {
            usleep(pace);
        }
    }
    _exit(0);
}

} // namespace

int main(int count, char** arguments) {
    if (count < 3) {
        return 2;
    }
    way = arguments[2];
    program = count > 3 ? arguments[3] : "";
    report = open(arguments[1], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (way == "ignore" || way == "hide" || way == "threads") {
        signal(SIGTERM, SIG_IGN);
    } else {
        // So that a program that takes this one's place still hears it.
        struct sigaction action {};
        action.sa_handler = onTerm;
        action.sa_flags = SA_NODEFER;
        sigaction(SIGTERM, &action, nullptr);
    }
    if (way == "hide") {
        signal(SIGUSR1, [](int) {
            prctl(PR_SET_DUMPABLE, 0);
            note("hidden\n");
        });
    }
    if (way == "threads") {
        // By who isn't its parent, which some systems forbid else. Fails where none does.
        prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    }
    if (way == "headless" || way == "threads") {
        std::thread([] {
            while (way == "headless" && !firstThreadHasEnded()) {
                usleep(100);
            }
            noteReady();
            for (;;) {
                pause();
            }
        }).detach();
        if (way == "headless") {
            pthread_exit(nullptr);
        }
    } else {
        noteReady();
    }
    if (way == "swarm") {
        swarm(arguments[1]);
    }
    if (way == "relay") {
        relay(arguments[1]);
    }
    for (;;) {
        pause();
    }
}
