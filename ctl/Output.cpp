#include "ctl/Output.h"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace velmoran {

void Output::write(const std::string& line) {
    collect(line + "\n");
    flush();
}

void Output::collect(const std::string& text) {
    if (open_ && std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
        fail();
    }
}

void Output::flush() {
    if (open_ && std::fflush(stdout) != 0) {
        fail();
    }
}

void Output::fail() {
    problem_ = errno;
    open_ = false;
    if (onGone_) {
        onGone_();
    }
}

bool Output::readerHasGone() const {
    return problem_ == EPIPE;
}

bool Output::wroteAll() const {
    if (!open_) {
        std::cerr << "velmoranctl: the output can't be written: "
                  << std::generic_category().message(problem_) << '\n';
    }
    return open_;
}

int Output::end() const {
    return readerHasGone() || wroteAll() ? 0 : 1;
}

} // namespace velmoran
