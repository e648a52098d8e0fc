// Reads a recording line by line, as a stream: no more than one line is held. One thread.
#pragma once

#include "app/replay/ReplayParser.h"

#include <cstddef>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>

namespace velmoran {

/// A line that can't be read.
class ReplayError : public std::runtime_error {
public:
    ReplayError(std::size_t line, const std::string& what)
        : std::runtime_error(what),
          line_(line) {}
    std::size_t line() const { return line_; } ///< counted from 1

private:
    std::size_t line_;
};

class ReplayReader {
public:
    /// `input` outlives this.
    explicit ReplayReader(std::istream& input) : input_(input) {}

    /// The next line that says something; nothing at the end. Blank lines and lines that begin with
    /// "#" are skipped. Throws ReplayError, also for a beginning that isn't the first and for a
    /// time that goes back; after that there is nothing more to read.
    std::optional<ReplayLine> next();

    /// Of the line that was read last, from 1; 0 before the first.
    std::size_t lineNumber() const { return number_; }

private:
    std::istream& input_;
    std::string line_;
    std::size_t number_ = 0;
    bool first_ = true;
    Seconds last_ = 0;
};

} // namespace velmoran
