#include "core/base/Uuid.h"

#include <algorithm>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <charconv>

namespace velmoran {

Uuid Uuid::random() {
    // The generator asks the system for randomness once; one per thread needs no lock.
    thread_local boost::uuids::random_generator_mt19937 generator;
    return {generator()};
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36) {
        return std::nullopt;
    }
    Uuid result;
    const char* at = text.data();
    for (auto& byte : result.bytes) {
        const auto offset = at - text.data();
        if ((offset == 8 || offset == 13 || offset == 18 || offset == 23) && *at++ != '-') {
            return std::nullopt;
        }
        if (std::from_chars(at, at + 2, byte, 16).ptr != at + 2) {
            return std::nullopt;
        }
        at += 2;
    }
    return result;
}

std::string Uuid::text() const {
    std::string result = boost::uuids::to_string(bytes);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return result;
}

} // namespace velmoran
