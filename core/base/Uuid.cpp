#include "core/base/Uuid.h"

#include <algorithm>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstdint>

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
    std::size_t byte = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (text[i] != '-') {
                return std::nullopt;
            }
            ++i;
            continue;
        }
        unsigned value = 0;
        for (int digit = 0; digit < 2; ++digit, ++i) {
            const char c = text[i];
            value <<= 4;
            if (c >= '0' && c <= '9') {
                value |= static_cast<unsigned>(c - '0');
            } else if (c >= 'a' && c <= 'f') {
                value |= static_cast<unsigned>(c - 'a' + 10);
            } else if (c >= 'A' && c <= 'F') {
                value |= static_cast<unsigned>(c - 'A' + 10);
            } else {
                return std::nullopt;
            }
        }
        result.bytes.data[byte++] = static_cast<std::uint8_t>(value);
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
