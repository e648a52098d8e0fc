#include "ctl/Ask.h"

#include "app/bus/BusNames.h"
#include "app/bus/StatusLines.h"
#include "app/qtbase/QtSettingsFile.h"
#include "app/qtbase/SystemWords.h"
#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "ctl/BusCaller.h"
#include "ctl/Output.h"
#include "ctl/VelmoranOnBus.h"
#include "system/MakeMachine.h"

#include <QCoreApplication>
#include <chrono>
#include <csignal>
#include <iostream>
#include <string_view>

namespace velmoran {

namespace {

/// For the bus to let us in, and again to say who is Velmoran.
constexpr Seconds entryPatience = 5.0;
/// For Velmoran, or for a sign of its life where the answer may take as long as the user thinks.
constexpr Seconds answerPatience = 25.0;

int complain(const std::string& sentence, int status) {
    std::cerr << "velmoranctl: " << plainLine(sentence) << '\n';
    return status;
}

void prepare(const AskOptions& options) {
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is noticed when writing
    const QCoreApplication application(options.argc, options.argv);
    QtSettingsFile settings;
    setSystemWords(settings, thisPlatform());
    followSystemZone();
}

std::string nameOf(const PeerProgram& program) {
    return words().text("%@ (process %@)",
                        {program.path.value_or(words().text("A program that can't be looked at")),
                         std::to_string(program.pid)});
}

/// A reply, or the exit status of its failure.
struct Call {
    BusMessage reply;
    int status = AskEnd::done;
};

Call failed(const BusAnswer& answer) {
    if (answer.isAbsence()) {
        return {nullptr, complain(words().text("Velmoran isn't running."), AskEnd::notRunning)};
    }
    if (answer.error == bus::notInUse || answer.error == bus::ambiguous ||
        answer.error == SD_BUS_ERROR_INVALID_ARGS) {
        return {nullptr, complain(answer.message, AskEnd::wrongRequest)};
    }
    return {nullptr, complain(words().text("Velmoran didn't answer: %@", {answer.message}),
                              AskEnd::notRunning)};
}

enum class Wait { bounded, asLongAsItLives };

Call call(const AskOptions& options, const char* method, const std::string* argument, Wait wait) {
    auto entry = enterBus(sessionBusAddress(), entryPatience);
    const auto silence = [] {
        return Call{nullptr,
                    complain(words().text("The session bus doesn't answer."), AskEnd::notRunning)};
    };
    if (entry.outcome == BusEntry::Outcome::silent) {
        return silence();
    }
    if (entry.outcome == BusEntry::Outcome::absent) {
        return {nullptr, complain(words().text("There is no session bus to reach Velmoran by."),
                                  AskEnd::notRunning)};
    }
    const BusCaller bus(std::move(entry.bus));
    const auto velmoran = findVelmoran(
        bus, {.busPatience = entryPatience,
              .patience = answerPatience,
              .isVelmoran = [&](const PeerProgram& program) {
                  return isVelmoran(program) || (program.path && *program.path == options.velmoran);
              }});
    if (velmoran.stranger) {
        complain(words().text("%@ answers in Velmoran's name and isn't Velmoran.",
                              {nameOf(*velmoran.stranger)}),
                 AskEnd::notRunning);
    }
    if (!velmoran.connection && velmoran.isSilent) {
        return failed({nullptr, SD_BUS_ERROR_NO_REPLY, "no answer"});
    }
    if (!velmoran.connection) {
        return velmoran.busAnswered
                   ? Call{nullptr,
                          complain(words().text("Velmoran isn't running."), AskEnd::notRunning)}
                   : silence();
    }
    const auto question = bus.makeCall(*velmoran.connection, bus::path, bus::interface, method);
    if (argument && sd_bus_message_append(question.get(), "s", argument->c_str()) < 0) {
        return {nullptr, complain("that is no name of an app", AskEnd::wrongRequest)};
    }
    auto answer = wait == Wait::bounded ? bus.ask(question, answerPatience)
                                        : bus.askWhileAlive(question, answerPatience);
    return answer.reply ? Call{std::move(answer.reply)} : failed(answer);
}

/// That something wasn't done matters more than that it couldn't be said.
int finish(const Output& output, int status) {
    return !output.wroteAll() && status == AskEnd::done ? AskEnd::unsaid : status;
}

/// Prints what has been done.
int tell(const Call& call) {
    if (!call.reply) {
        return call.status;
    }
    const char* outcome = nullptr;
    const char* headline = nullptr;
    const char* detail = nullptr;
    if (sd_bus_message_read(call.reply.get(), "sss", &outcome, &headline, &detail) < 0) {
        return complain(words().text("Velmoran didn't answer: %@", {"?"}), AskEnd::notRunning);
    }
    Output output;
    for (const auto* sentence : {headline, detail}) {
        if (*sentence != '\0') {
            output.write(plainLine(sentence));
        }
    }
    return finish(output, outcome == std::string_view(bus::outcome::done) ? AskEnd::done
                                                                          : AskEnd::notEverything);
}

Timestamp present() {
    const std::chrono::duration<double> sinceEpoch =
        std::chrono::system_clock::now().time_since_epoch();
    return {sinceEpoch.count() - secondsFromUnixEpoch};
}

} // namespace

int askToStop(const std::string& app, const AskOptions& options) {
    prepare(options);
    return tell(app.empty() ? call(options, "StopEverything", nullptr, Wait::asLongAsItLives)
                            : call(options, "Stop", &app, Wait::asLongAsItLives));
}

int askToUnmute(const AskOptions& options) {
    prepare(options);
    return tell(call(options, "UnmuteMicrophone", nullptr, Wait::bounded));
}

int askForStatus(bool json, const AskOptions& options) {
    prepare(options);
    const auto answer = call(options, "Status", nullptr, Wait::bounded);
    if (!answer.reply) {
        return answer.status;
    }
    const char* text = nullptr;
    Output output;
    try {
        if (sd_bus_message_read(answer.reply.get(), "s", &text) < 0) {
            throw DecodingError("no text");
        }
        const auto status = decode<ProgramStatus>(text);
        if (json) {
            output.write(encode(status));
        } else {
            for (const auto& line : statusLines(status, present())) {
                output.write(plainLine(line));
            }
        }
    } catch (const DecodingError& error) {
        return complain(words().text("Velmoran didn't answer: %@", {error.what()}),
                        AskEnd::notRunning);
    }
    return finish(output, AskEnd::done);
}

} // namespace velmoran
