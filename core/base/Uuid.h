// An identifier that is made once and never again. A plain value; any thread.
#pragma once

#include <boost/uuid/uuid.hpp>
#include <compare>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

struct Uuid {
    boost::uuids::uuid bytes{};

    /// A fresh random one.
    static Uuid random();
    /// From the hyphenated form, in either case; nothing for any other text.
    static std::optional<Uuid> parse(std::string_view text);
    /// The hyphenated form in upper case, as it is stored.
    std::string text() const;

    bool operator==(const Uuid&) const = default;
    bool operator<(const Uuid& other) const { return bytes < other.bytes; }
};

} // namespace velmoran

template <>
struct std::hash<velmoran::Uuid> {
    std::size_t operator()(const velmoran::Uuid& id) const noexcept { return hash_value(id.bytes); }
};
