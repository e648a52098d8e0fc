#include "ctl/VelmoranOnBus.h"

#include "app/bus/BusNames.h"
#include "app/bus/Identity.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

/// The bus's own answer to a question about a name, until the end.
class Bus {
public:
    Bus(const BusCaller& caller, Seconds patience) : caller_(caller), end_(inSeconds(patience)) {}

    BusAnswer ask(const char* method, const std::string& name) const {
        constexpr const char* driver = "org.freedesktop.DBus";
        const auto call = caller_.makeCall(driver, "/org/freedesktop/DBus", driver, method);
        sd_bus_message_append(call.get(), "s", name.c_str());
        const std::chrono::duration<double> left = end_ - std::chrono::steady_clock::now();
        return caller_.ask(call, left.count());
    }

    std::optional<std::uint32_t> number(const char* method, const std::string& name) const {
        const auto answer = ask(method, name);
        std::uint32_t value = 0;
        return answer.reply && sd_bus_message_read(answer.reply.get(), "u", &value) > 0
                   ? std::optional(value)
                   : std::nullopt;
    }

    bool isOver() const { return std::chrono::steady_clock::now() >= end_; }

private:
    const BusCaller& caller_;
    std::chrono::steady_clock::time_point end_;
};

std::vector<std::string> texts(sd_bus_message* message, std::size_t most) {
    std::vector<std::string> all;
    const char* text = nullptr;
    if (sd_bus_message_enter_container(message, 'a', "s") > 0) {
        while (all.size() < most && sd_bus_message_read(message, "s", &text) > 0) {
            all.emplace_back(text);
        }
    }
    return all;
}

/// One that seems to be Velmoran.
struct Candidate {
    Candidate(std::string owner, PeerProgram its)
        : connection(std::move(owner)),
          program(std::move(its)) {}

    std::string connection;
    PeerProgram program;
    IdentityQuestion question;
};

/// More aren't looked at: nobody has so many.
constexpr std::size_t mostOwners = 256;

} // namespace

VelmoranOnBus findVelmoran(const BusCaller& caller, const VelmoranSearch& search) {
    const Bus bus(caller, search.busPatience);
    VelmoranOnBus found;
    const auto owners = bus.ask("ListQueuedOwners", bus::name);
    if (!owners.reply) {
        found.busAnswered = owners.isAbsence();
        return found;
    }
    std::deque<Candidate> candidates;
    std::vector<BusMessage> questions;
    const auto noteStranger = [&found](const PeerProgram& program) {
        if (!found.stranger) {
            found.stranger = program;
        }
    };
    for (const auto& owner : texts(owners.reply.get(), mostOwners)) {
        const auto user = bus.number("GetConnectionUnixUser", owner);
        const auto pid = bus.number("GetConnectionUnixProcessID", owner);
        // Without a process it has gone meanwhile.
        const auto program = programOf(static_cast<std::int32_t>(pid.value_or(0)));
        if (user == ::getuid() && search.isVelmoran(program)) {
            const auto& candidate = candidates.emplace_back(owner, program);
            auto& question = questions.emplace_back(
                caller.makeCall(owner, bus::path, bus::interface, "Identify"));
            sd_bus_message_append(question.get(), "s", candidate.question.place().c_str());
        } else if (pid) {
            noteStranger(program);
        }
    }
    found.busAnswered = !bus.isOver();
    // All at once, since one that is stopped must not hide another one. What they run was looked
    // at before: whoever comes now does so as that program.
    std::size_t answers = 0;
    caller.askEach(questions, search.patience, [&](std::size_t asked, const BusAnswer&) {
        const auto& candidate = candidates[asked];
        ++answers;
        if (!candidate.question.isAnsweredBy(candidate.program.pid)) {
            noteStranger(candidate.program);
            return false;
        }
        found.connection = candidate.connection;
        return true;
    });
    found.isSilent = !found.connection && answers < candidates.size();
    return found;
}

} // namespace velmoran
