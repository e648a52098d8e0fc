// velmoranctl's questions over the session bus: each ends, with an answer or with what was in the
// way, whatever the bus or whoever is asked does. One per command; main thread.
#pragma once

#include "app/bus/BusEntry.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {

/// A reply, or the name and the text of an error.
struct BusAnswer {
    BusMessage reply;
    std::string error;
    std::string message;

    bool isAbsence() const;
};

class BusCaller {
public:
    explicit BusCaller(BusHandle bus) : bus_(std::move(bus)) {}

    /// An empty call; null if there is no memory for it.
    BusMessage makeCall(const std::string& to, const char* path, const char* interface,
                        const char* method) const;

    BusAnswer ask(const BusMessage& call, Seconds patience) const;
    /// Asks all at once, and hands over each answer as it comes until one is said to be enough, or
    /// all are there or the patience is over. Who hasn't answered by then isn't told of.
    void askEach(const std::vector<BusMessage>& calls, Seconds patience,
                 const std::function<bool(std::size_t call, const BusAnswer&)>& isEnough) const;
    /// The same as `ask` for a question that may take as long as it likes, as long as whoever is
    /// asked gives a sign of life within the patience.
    BusAnswer askWhileAlive(const BusMessage& call, Seconds patience) const;

    /// Between two looks whether he lives.
    static constexpr Seconds lifeInterval = 5.0;

private:
    BusHandle bus_;
};

} // namespace velmoran
