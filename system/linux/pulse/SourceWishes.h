// What the last call wanted of each source, for the moments until the device obeys: the mirror may
// not have it yet, and a write can get lost. Owned by the microphones; used with the context's lock
// held.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace velmoran {

class SourceWishes {
public:
    /// From the end of `span` on others may change it.
    void set(std::uint32_t source, bool muted, std::chrono::milliseconds span);
    /// The server has taken that wish: the span begins now, however long it has slept.
    void taken(std::uint32_t source, bool muted);
    void forget(std::uint32_t source) { wishes_.erase(source); }
    void clear() { wishes_.clear(); }

    /// Nothing when nobody wanted anything of it lately.
    std::optional<bool> wanted(std::uint32_t source) const;
    /// It isn't as wanted: whether to write it once more, which is counted.
    bool mayRepeat(std::uint32_t source);

    /// A device obeys within some milliseconds; what others set later is theirs.
    static constexpr std::chrono::milliseconds insistence{500};
    /// One that is plugged in may get its stored mute only some moments later.
    static constexpr std::chrono::milliseconds restoration{1000};
    static constexpr int mostRepeats = 3;

private:
    struct Wish {
        bool muted = false;
        std::chrono::steady_clock::time_point end;
        int repeats = 0;
    };

    std::map<std::uint32_t, Wish> wishes_;
};

} // namespace velmoran
