// A program that has Velmoran's name on the session bus and answers each call as if all were well.
// It serves on a thread of its own until it goes.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <systemd/sd-bus.h>
#include <thread>
#include <unistd.h>

namespace velmoran::attacks {

class FakeVelmoran {
public:
    FakeVelmoran() : bus_(takeName()), thread_([this] { serve(); }) {}
    ~FakeVelmoran() {
        isEnding_ = true;
        thread_.join();
    }
    FakeVelmoran(const FakeVelmoran&) = delete;
    FakeVelmoran& operator=(const FakeVelmoran&) = delete;

    /// How many questions it got.
    [[nodiscard]] static int calls() { return count(); }

    /// The same for a process of its own, which ends with its bus.
    static sd_bus* takeName() {
        sd_bus* bus = nullptr;
        if (sd_bus_open_user(&bus) < 0 ||
            sd_bus_add_filter(bus, nullptr, &FakeVelmoran::answer, nullptr) < 0 ||
            sd_bus_request_name(bus, "org.velmoran.Velmoran", 0) < 0) {
            throw std::runtime_error("the name can't be had");
        }
        return bus;
    }
    [[noreturn]] static void serveForEver(sd_bus* bus) {
        while (serveOnce(bus)) {
        }
        ::_exit(0);
    }

private:
    static std::atomic<int>& count() {
        static std::atomic<int> calls = 0;
        return calls;
    }

    static int answer(sd_bus_message* message, void*, sd_bus_error*) {
        if (sd_bus_message_is_method_call(message, "org.velmoran.Velmoran1", nullptr) <= 0) {
            return 0;
        }
        ++count();
        const std::string_view member = sd_bus_message_get_member(message);
        if (member == "Status") {
            return sd_bus_reply_method_return(
                message, "s",
                R"({"cameraOn":false,"microphoneOn":false,"microphoneMuted":false,)"
                R"("stopping":false,"uses":[]})");
        }
        return member == "Identify" ? sd_bus_reply_method_return(message, "")
                                    : sd_bus_reply_method_return(message, "sss", "done",
                                                                 "Everything is stopped.", "");
    }

    /// False when the connection is over.
    static bool serveOnce(sd_bus* bus) {
        constexpr std::uint64_t turn = 20000; // microseconds
        const int done = sd_bus_process(bus, nullptr);
        return done > 0 || (done == 0 && sd_bus_wait(bus, turn) >= 0);
    }

    void serve() const {
        while (!isEnding_ && serveOnce(bus_.get())) {
        }
    }

    struct Closer {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::unique_ptr<sd_bus, Closer> bus_;
    std::atomic<bool> isEnding_ = false;
    std::thread thread_;
};

} // namespace velmoran::attacks
