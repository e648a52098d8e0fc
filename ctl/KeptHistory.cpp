#include "ctl/KeptHistory.h"

#include "app/qtbase/UserHistory.h"
#include "core/text/Localizer.h"
#include "ctl/Asking.h"
#include "system/PeerProgram.h"

#include <exception>
#include <filesystem>

namespace velmoran {

bool historyIsKept(const AskOptions& asking) {
    auto lock = userHistoryPath();
    lock += ".lock";
    return isLockedBy(
        [&](const PeerProgram& program) {
            return isVelmoran(program) || (program.path && *program.path == asking.velmoran);
        },
        lock.string());
}

int printKept(const std::function<void(HistoryReader&, Output&)>& print) {
    const auto path = userHistoryPath();
    Output output;
    try {
        std::error_code none;
        if (!std::filesystem::exists(path, none) && !none) {
            return asking::complain(
                words().text("There is no history yet: %@ isn't there.", {path.string()}),
                AskEnd::unreadable);
        }
        HistoryReader reader(path);
        print(reader, output);
    } catch (const std::exception& error) {
        output.flush();
        return asking::complain(words().text("The history can't be read: %@", {error.what()}),
                                AskEnd::unreadable);
    }
    output.flush();
    // Who reads the first lines of many has what he wanted, and no use for a sentence.
    return output.readerHasGone() ? AskEnd::unsaid : asking::finish(output, AskEnd::done);
}

} // namespace velmoran
