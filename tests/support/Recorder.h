// What a real recorder of the sound server hears: parecord, writing raw samples (16 bits, one
// channel, 48 kHz) into a file.
#pragma once

#include "support/PrivateSession.h"
#include "support/Waiting.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace velmoran::support {

class Recorder {
public:
    Recorder(PrivateSession& session, const std::string& source)
        : file_(session.file("heard-" + source + ".raw")) {
        session.start("recorder of " + source,
                      {"parecord", "--raw", "--format=s16le", "--rate=48000", "--channels=1",
                       "--latency-msec=20", "-d", source, file_});
    }

    /// Waits until what is heard now is not silent, or until it is.
    [[nodiscard]] bool hearsSound() const {
        return becomes([](const auto& samples) {
            return std::any_of(samples.begin(), samples.end(), [](auto one) { return one != 0; });
        });
    }
    [[nodiscard]] bool hearsSilence() const {
        return becomes([](const auto& samples) {
            return std::all_of(samples.begin(), samples.end(), [](auto one) { return one == 0; });
        });
    }

    /// Whether all was silent, from the first sample to now.
    [[nodiscard]] bool hasHeardNothing() const {
        std::ifstream stream(file_, std::ios::binary);
        std::size_t heard = 0;
        for (std::int16_t one = 0; stream.read(reinterpret_cast<char*>(&one), sizeof one);
             ++heard) {
            if (one != 0) {
                return false;
            }
        }
        return heard > 0;
    }

private:
    using Samples = std::vector<std::int16_t>;
    /// A tenth of a second, all of it recorded after the question.
    static constexpr std::size_t length = 4800;

    [[nodiscard]] bool becomes(bool (*matches)(const Samples&)) const {
        auto asked = size();
        return waitUntil([&] {
            const auto now = size();
            if (now < asked + length * sizeof(std::int16_t)) {
                return false;
            }
            Samples samples(length);
            std::ifstream stream(file_, std::ios::binary);
            const auto even = now - now % sizeof(std::int16_t);
            stream.seekg(static_cast<std::streamoff>(even - length * sizeof(std::int16_t)));
            stream.read(reinterpret_cast<char*>(samples.data()),
                        static_cast<std::streamsize>(length * sizeof(std::int16_t)));
            asked = now;
            return stream.good() && matches(samples);
        });
    }
    [[nodiscard]] std::uintmax_t size() const {
        std::error_code none;
        const auto size = std::filesystem::file_size(file_, none);
        return none ? 0 : size;
    }

    std::filesystem::path file_;
};

} // namespace velmoran::support
