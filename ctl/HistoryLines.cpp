#include "ctl/HistoryLines.h"

#include "app/contents/UseWords.h"
#include "core/text/CellText.h"
#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"
#include "core/text/MomentText.h"
#include "core/text/PlainLine.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

/// The longest name that a line shows; a longer one is nothing to be read.
constexpr std::size_t nameColumns = 120;

bool isOpen(const UsageSession& session, const LineContext& context) {
    return !session.end && !session.outcome && context.isKept;
}

std::optional<Timestamp> endOf(const UsageSession& session, const LineContext& context) {
    return session.end                ? session.end
           : isOpen(session, context) ? std::optional(context.now)
                                      : std::nullopt;
}

/// Nothing where the end isn't known, or where the file has numbers that no use has.
std::optional<Seconds> lengthOf(const UsageSession& session, const LineContext& context) {
    const auto end = endOf(session, context);
    const auto length = end ? std::max(0.0, *end - session.start) : 0;
    constexpr Seconds longest = 1e12;
    return end && length < longest ? std::optional(length) : std::nullopt;
}

std::string lengthText(const UsageSession& session, const LineContext& context) {
    if (isOpen(session, context)) {
        return words().text("Still on");
    }
    const auto length = lengthOf(session, context);
    return length ? DurationFormat::text(*length) : words().text("End not known");
}

/// In the language of the words, which stays the same.
struct Widths {
    std::size_t device = 0;
    std::size_t length = 0;
    std::size_t label = 0;

    Widths() {
        for (const auto each : allDevices) {
            device = std::max(device, columnsOf(deviceWord(each)));
        }
        constexpr Seconds long_ = 99 * 3600.0 + 59 * 60;
        for (const auto& text : {DurationFormat::text(long_), words().text("Still on"),
                                 words().text("End not known")}) {
            length = std::max(length, columnsOf(text));
        }
        for (const auto& text :
             {words().text("Stopped"), words().text("Trusted"), words().text("Warned")}) {
            label = std::max(label, columnsOf(text));
        }
    }
};

/// The name stands last, since it may be long, or written from right to left.
std::string tableLine(const UsageSession& session, const LineContext& context) {
    static const Widths widths;
    constexpr std::size_t timeColumns = 19;
    return padded(wallTime(session.start), timeColumns) + "  " +
           paddedBefore(lengthText(session, context), widths.length) + "  " +
           padded(deviceWord(session.device), widths.device) + "  " +
           padded(toldWord(session.outcome, session.warningLevel), widths.label) + "  " +
           cutLine(session.app.name, nameColumns) + "\n";
}

/// A text as JSON has it. Most need no more than quotes, and there are many of them.
void addQuoted(std::string& to, std::string_view text) {
    const auto isPlain = [](char byte) {
        return byte >= ' ' && byte < 0x7F && byte != '"' && byte != '\\';
    };
    if (std::ranges::all_of(text, isPlain)) {
        to.append(1, '"').append(text).append(1, '"');
    } else {
        to += encode(std::string(text));
    }
}

void addQuoted(std::string& to, Timestamp time) {
    const auto text = isoTime(time, Precision::milliseconds);
    if (text.empty()) {
        to += "null";
    } else {
        to.append(1, '"').append(text).append(1, '"');
    }
}

/// Writes an object at the end of a text, a member after the other; absent ones are left out. Each
/// piece goes there at once, since a history has a million of them.
class Object {
public:
    explicit Object(std::string& to) : to_(to) { to_ += '{'; }
    ~Object() { to_ += '}'; }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    /// What is written to the text next is that member's.
    void begin(std::string_view name) {
        to_.append(isFirst_ ? "\"" : ",\"").append(name).append("\":");
        isFirst_ = false;
    }
    void add(std::string_view name, std::string_view json) {
        begin(name);
        to_ += json;
    }
    template <class T>
    void addText(std::string_view name, const T& value) {
        begin(name);
        addQuoted(to_, value);
    }
    template <class T>
    void addText(std::string_view name, const std::optional<T>& value) {
        if (value) {
            addText(name, *value);
        }
    }

private:
    std::string& to_;
    bool isFirst_ = true;
};

void addApp(std::string& to, const AppIdentity& app) {
    Object object(to);
    object.addText("id", app.id);
    object.addText("name", app.name);
    object.addText("bundleID", app.bundleID);
    object.addText("path", app.path);
    object.addText("teamID", app.teamID);
}

void addConnections(std::string& to, const std::vector<ConnectionRecord>& connections) {
    to += '[';
    for (const auto& connection : connections) {
        to += &connection == connections.data() ? "" : ",";
        Object peer(to);
        peer.addText("address", connection.address);
        peer.add("port", std::to_string(connection.port));
        peer.addText("transport", connection.transport);
        peer.addText("firstSeen", connection.firstSeen);
    }
    to += ']';
}

void addSession(std::string& to, const UsageSession& session, const LineContext& context) {
    Object line(to);
    line.addText("id", session.id.text());
    line.addText("device", rawValue(session.device));
    line.begin("app");
    addApp(to, session.app);
    line.addText("start", session.start);
    line.addText("end", session.end);
    if (const auto length = lengthOf(session, context)) {
        line.add("seconds", fmt::format("{:.3f}", *length));
    }
    line.add("open", isOpen(session, context) ? "true" : "false");
    if (session.outcome) {
        line.addText("outcome", rawValue(*session.outcome));
    }
    if (session.warningLevel) {
        line.addText("warningLevel", rawValue(*session.warningLevel));
    }
    line.add("seenFromStart", session.observedFromStart ? "true" : "false");
    line.begin("connections");
    addConnections(to, session.connections);
}

std::string jsonLine(const UsageSession& session, const LineContext& context) {
    std::string line;
    constexpr std::size_t most = 512; // of nearly all
    line.reserve(most);
    addSession(line, session, context);
    return plainJson(std::move(line)) + "\n";
}

std::string csvLine(const UsageSession& session, const LineContext& context) {
    const auto length = lengthOf(session, context);
    const std::vector<std::string> cells = {
        isoTime(session.start),
        session.end ? isoTime(*session.end) : std::string(),
        length ? fmt::format("{:.3f}", *length) : std::string(),
        std::string(rawValue(session.device)),
        csvCell(session.app.name),
        csvCell(session.app.id),
        csvCell(session.app.path.value_or("")),
        session.outcome            ? std::string(rawValue(*session.outcome))
        : isOpen(session, context) ? "open"
                                   : "",
        session.warningLevel ? std::string(rawValue(*session.warningLevel)) : std::string(),
        session.observedFromStart ? "true" : "false"};
    return fmt::format("{}\r\n", fmt::join(cells, ","));
}

} // namespace

std::string headOfLines(LineForm form) {
    if (form != LineForm::csv) {
        return {};
    }
    // The mark by which spreadsheets know UTF-8; without it some take names for another encoding.
    return "\xEF\xBB\xBF"
           "start,end,seconds,device,appName,appID,appPath,outcome,warningLevel,seenFromStart\r\n";
}

std::string lineOf(const UsageSession& session, const LineContext& context, LineForm form) {
    switch (form) {
    case LineForm::json:
        return jsonLine(session, context);
    case LineForm::csv:
        return csvLine(session, context);
    case LineForm::table:
        break;
    }
    return tableLine(session, context);
}

} // namespace velmoran
