// Throws calls at the program on the session bus, as fast as the bus takes them, and waits until
// the last one is answered. For tests and measurements.
// usage: flood-bus METHOD COUNT [BYTES | -] [many | deaf]
//   BYTES: the length of the one argument, none with "-"
//   many: each call comes from a connection of its own
//   deaf: no answer is read but the last, which another connection gets
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <systemd/sd-bus.h>

namespace {

constexpr const char* name = "org.velmoran.Velmoran";

[[noreturn]] void fail(const char* what) {
    std::cerr << "flood-bus: " << what << '\n';
    std::exit(1); // NOLINT(concurrency-mt-unsafe): there is one thread
}

sd_bus* connect() {
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0) {
        fail("no bus");
    }
    return bus;
}

sd_bus_message* message(sd_bus* bus, const char* method, const std::string* argument) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus, &made, name, "/org/velmoran/Velmoran",
                                       "org.velmoran.Velmoran1", method) < 0 ||
        (argument && sd_bus_message_append(made, "s", argument->c_str()) < 0)) {
        fail("no message");
    }
    return made;
}

/// Answers that have come are thrown away, so that the bus keeps none for us.
void readAll(sd_bus* bus) {
    while (sd_bus_process(bus, nullptr) > 0) {
    }
}

void send(sd_bus* bus, const char* method, const std::string* argument) {
    auto* made = message(bus, method, argument);
    if (sd_bus_send(bus, made, nullptr) < 0 || sd_bus_flush(bus) < 0) {
        fail("the bus takes no more");
    }
    sd_bus_message_unref(made);
}

/// Asked again for a minute while the bus refuses to pass on so much.
void awaitAnswer(sd_bus* bus) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::minutes(1);
    while (true) {
        auto* question = message(bus, "Status", nullptr);
        sd_bus_message* reply = nullptr;
        sd_bus_error error{};
        const bool isAnswered = sd_bus_call(bus, question, 60000000, &error, &reply) >= 0;
        const bool isRefused = sd_bus_error_has_name(&error, SD_BUS_ERROR_LIMITS_EXCEEDED) != 0;
        if (!isAnswered && (!isRefused || Clock::now() > end)) {
            fail(error.message != nullptr ? error.message : "no answer");
        }
        sd_bus_error_free(&error);
        sd_bus_message_unref(reply);
        sd_bus_message_unref(question);
        if (isAnswered) {
            return;
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        fail("METHOD and COUNT are wanted");
    }
    const std::string size = argc > 3 ? argv[3] : "-";
    const std::string how = argc > 4 ? argv[4] : "";
    const std::string text(size == "-" ? 0 : std::stoul(size), 'x');
    const std::string* argument = size == "-" ? nullptr : &text;
    const long count = std::stol(argv[2]);
    sd_bus* bus = connect();
    for (long i = 0; i < count; ++i) {
        if (how == "many") {
            sd_bus* own = connect();
            send(own, argv[1], argument);
            sd_bus_close_unref(own);
        } else {
            send(bus, argv[1], argument);
            if (how != "deaf") {
                readAll(bus);
            }
        }
    }
    // The bus and the program keep the order.
    sd_bus* last = how == "deaf" ? connect() : bus;
    awaitAnswer(last);
    std::cout << "answered\n";
    if (last != bus) {
        sd_bus_close_unref(last);
    }
    sd_bus_close_unref(bus);
    return 0;
}
