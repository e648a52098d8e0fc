// Any bytes as a row of the history file. The first byte chooses: 0, and the rest is the text of
// connections; otherwise the rest is thirteen columns, each a byte for the kind, a byte for the
// length, and that many bytes.
#include "core/history/ConnectionsText.h"
#include "core/history/SessionRecord.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace velmoran;

namespace {

void insist(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// What the general reader says, without any short cut.
std::vector<ConnectionRecord> slowConnections(std::string_view text) {
    try {
        return decode<std::vector<ConnectionRecord>>(text);
    } catch (const DecodingError&) {
        return {};
    }
}

void tryConnections(std::string_view text) {
    const auto connections = connectionsFrom(text);
    insist(connections == slowConnections(text));
    const auto again = connectionsText(connections);
    insist(again.has_value() == !connections.empty());
    insist(!again || connectionsFrom(*again) == connections);
}

class Columns {
public:
    explicit Columns(std::string_view bytes) : bytes_(bytes) {}

    Column next() {
        Column column;
        const auto kind = next(1);
        const auto length = next(1);
        const auto content = next(length.empty() ? 0 : static_cast<unsigned char>(length[0]));
        column.kind =
            static_cast<Column::Kind>(kind.empty() ? 0U : static_cast<unsigned char>(kind[0]) % 5U);
        const auto number = content.substr(0, 8);
        if (column.kind == Column::Kind::integer) {
            std::memcpy(&column.integer, number.data(), number.size());
        } else if (column.kind == Column::Kind::real) {
            std::memcpy(&column.real, number.data(), number.size());
        } else if (column.kind != Column::Kind::null) {
            column.bytes = content;
        }
        return column;
    }

private:
    std::string_view next(std::size_t count) {
        const auto piece = bytes_.substr(0, count);
        bytes_.remove_prefix(piece.size());
        return piece;
    }

    std::string_view bytes_;
};

void tryRow(std::string_view bytes) {
    Columns columns(bytes);
    const auto next = [&] {
        return columns.next();
    };
    const SessionRecord row{next(), next(), next(), next(), next(), next(), next(),
                            next(), next(), next(), next(), next(), next()};
    if (const auto session = sessionFrom(row)) {
        insist(row.deviceRaw.bytes == rawValue(session->device));
        insist(row.id.bytes == session->id.text());
        // What was read once is read the same after it has been stored again.
        insist(asStored(*session, connectionsText(session->connections)) == *session);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0) {
        const std::string_view bytes(reinterpret_cast<const char*>(data), size);
        if (bytes[0] == '\0') {
            tryConnections(bytes.substr(1));
        } else {
            tryRow(bytes.substr(1));
        }
    }
    return 0;
}
