// A process of a test's own that opens, maps, unmaps and closes a file on command: a program that
// uses a camera, without a camera. Ends with the object.
#pragma once

#include "support/Rights.h"

#include <array>
#include <csignal>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran::support {

class NodeUser {
public:
    explicit NodeUser(std::string path) : path_(std::move(path)) {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::runtime_error("no socket pair");
        }
        pid_ = ::fork();
        if (pid_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            serve(ends[1], path_.c_str());
        }
        ::close(ends[1]);
        socket_ = ends[0];
        if (pid_ < 0) {
            ::close(socket_);
            throw std::runtime_error("no process");
        }
    }
    ~NodeUser() {
        end();
        ::close(socket_);
    }
    NodeUser(const NodeUser&) = delete;
    NodeUser& operator=(const NodeUser&) = delete;

    pid_t pid() const { return pid_; }
    /// Each returns when it is done; false if it failed.
    bool open() { return command('o'); }
    bool map() { return command('m'); }
    bool unmap() { return command('u'); }
    bool close() { return command('c'); }
    /// Open and map with nothing between.
    bool stream() { return command('s'); }
    /// Opens and closes at once.
    bool touch() { return command('t'); }
    /// Runs on without root's rights: who may not look at others may look at it.
    bool giveUpRights() { return command('g'); }
    /// Forbids others to look at it.
    bool hide() { return command('h'); }
    /// Kills it.
    void end() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
            pid_ = 0;
        }
    }

private:
    bool command(char letter) {
        char answer = 0;
        return ::write(socket_, &letter, 1) == 1 && ::read(socket_, &answer, 1) == 1 &&
               answer == '+';
    }

    // In the child, where only what is safe after a fork of many threads may be called.
    [[noreturn]] static void serve(int socket, const char* path) {
        constexpr std::size_t length = 4096;
        int file = -1;
        void* memory = MAP_FAILED;
        for (char letter = 0; ::read(socket, &letter, 1) == 1;) {
            bool done = true;
            if (letter == 'o' || letter == 's' || letter == 't') {
                file = ::open(path, O_RDWR | O_CLOEXEC);
                done = file >= 0;
            }
            if (letter == 'm' || letter == 's') {
                memory = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, file, 0);
                done = done && memory != MAP_FAILED;
            }
            if (letter == 'u') {
                done = ::munmap(memory, length) == 0;
            }
            if (letter == 'c' || letter == 't') {
                done = ::close(file) == 0;
            }
            if (letter == 'g') {
                done = support::giveUpRights();
            }
            if (letter == 'h') {
                done = ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0;
            }
            const char answer = done ? '+' : '-';
            if (::write(socket, &answer, 1) != 1) {
                break;
            }
        }
        ::_exit(0);
    }

    std::string path_;
    pid_t pid_ = 0;
    int socket_ = -1;
};

} // namespace velmoran::support
