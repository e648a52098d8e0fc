#include "core/history/ConnectionsText.h"

#include <charconv>
#include <cmath>

namespace velmoran {

namespace {

/// Reads the one form that `connectionsText` writes for plain ASCII texts: no spaces, no escapes,
/// keys in order. A history of a hundred thousand sessions is read at each start, and the general
/// parser takes ten times as long. Whatever else it meets, it gives up and the general one decides.
class PlainReader {
public:
    explicit PlainReader(std::string_view text) : at_(text.data()), end_(at_ + text.size()) {}

    std::optional<std::vector<ConnectionRecord>> read() {
        std::vector<ConnectionRecord> connections;
        if (!skip("[")) {
            return std::nullopt;
        }
        do {
            auto& connection = connections.emplace_back();
            if (!skip(R"({"address":)") || !readText(connection.address) || !skip(R"(,"port":)") ||
                !readNumber(connection.port, false) || !skip(R"(,"transport":)") ||
                !readText(connection.transport)) {
                return std::nullopt;
            }
            if (skip(R"(,"firstSeen":)") &&
                !readNumber(connection.firstSeen.emplace().seconds, true)) {
                return std::nullopt;
            }
            if (!skip("}")) {
                return std::nullopt;
            }
        } while (skip(","));
        if (!skip("]") || at_ != end_) {
            return std::nullopt;
        }
        return connections;
    }

private:
    bool skip(std::string_view expected) {
        if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(expected)) {
            return false;
        }
        at_ += expected.size();
        return true;
    }

    bool readText(std::string& text) {
        if (!skip("\"")) {
            return false;
        }
        const auto* from = at_;
        while (at_ != end_ && *at_ >= 0x20 && *at_ < 0x7F && *at_ != '"' && *at_ != '\\') {
            ++at_;
        }
        text.assign(from, at_);
        return skip("\"");
    }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    bool skipDigits() {
        const auto* from = at_;
        while (at_ != end_ && isDigit(*at_)) {
            ++at_;
        }
        return at_ != from;
    }

    template <class Number>
    bool readNumber(Number& number, bool fractionAllowed) {
        const auto* from = at_;
        skip("-");
        const auto* first = at_;
        if (!skipDigits() || (*first == '0' && at_ - first > 1)) {
            return false;
        }
        if (fractionAllowed) {
            if (skip(".") && !skipDigits()) {
                return false;
            }
            if (skip("e") || skip("E")) {
                if (!skip("-")) {
                    skip("+");
                }
                if (!skipDigits()) {
                    return false;
                }
            }
        }
        const auto [stop, error] = std::from_chars(from, at_, number);
        return error == std::errc() && stop == at_;
    }

    const char* at_;
    const char* end_;
};

} // namespace

std::optional<std::string> connectionsText(const std::vector<ConnectionRecord>& connections) {
    if (connections.empty()) {
        return std::nullopt;
    }
    try {
        return encode(connections);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::vector<ConnectionRecord> connectionsFrom(std::string_view text) {
    if (auto connections = PlainReader(text).read()) {
        return *std::move(connections);
    }
    try {
        return decode<std::vector<ConnectionRecord>>(text);
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace velmoran
