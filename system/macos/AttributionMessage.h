// What the system's log says of the apps behind the camera and microphone indicator, read from the
// log tool's bytes: newline-delimited JSON, one object a line, with the words under "eventMessage".
// Pure functions and a buffer; any thread.
#pragma once

#include "system/Machine.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// From the words of one message. Nothing without "changed to " and an array of texts behind it;
/// an empty array gives an empty table. Elements without a colon are left out.
std::optional<AttributionTable> parseAttributionMessage(std::string_view message);

/// From one line of the tool, without its end. Nothing if it isn't a JSON object with such a
/// message.
std::optional<AttributionTable> parseAttributionLine(std::string_view line);

/// From all that a run over the past has written: that of the last line that gives a table.
std::optional<AttributionTable> parseAttributionHistory(std::string_view output);

/// Makes whole lines of chunks as they come. Without a limit: lines are few and short.
class LineBuffer {
public:
    void append(std::string_view chunk) { bytes_.append(chunk); }
    /// The first whole line, without its end, taken out; nothing while there is none.
    std::optional<std::string> popLine();
    /// What has not yet made a line.
    const std::string& rest() const { return bytes_; }

private:
    std::string bytes_;
};

} // namespace velmoran
