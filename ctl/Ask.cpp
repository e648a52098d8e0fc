#include "ctl/Ask.h"

#include "app/bus/StatusLines.h"
#include "core/text/PlainLine.h"
#include "ctl/Asking.h"

namespace velmoran {

int askToStop(const std::string& app, const AskOptions& options) {
    asking::prepare(options);
    constexpr auto wait = asking::Wait::asLongAsItLives;
    return asking::tell(app.empty() ? asking::call(options, "StopEverything", {}, wait)
                                    : asking::call(options, "Stop", {app}, wait));
}

int askToUnmute(const AskOptions& options) {
    asking::prepare(options);
    return asking::tell(asking::call(options, "UnmuteMicrophone"));
}

int askForStatus(bool json, const AskOptions& options) {
    asking::prepare(options);
    const auto answer = asking::call(options, "Status");
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
            for (const auto& line : statusLines(status, asking::present())) {
                output.write(plainLine(line));
            }
        }
    } catch (const DecodingError& error) {
        return asking::complainOfAnswer(error.what());
    }
    return asking::finish(output, AskEnd::done);
}

} // namespace velmoran
