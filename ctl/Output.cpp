#include "ctl/Output.h"

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace velmoran {

void Output::write(const std::string& line) {
    if (!open_) {
        return;
    }
    const auto text = line + "\n";
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        problem_ = errno;
        open_ = false;
        if (onGone_) {
            onGone_();
        }
    }
}

bool Output::wroteAll() const {
    if (!open_) {
        std::cerr << "velmoranctl: the output can't be written: "
                  << std::generic_category().message(problem_) << '\n';
    }
    return open_;
}

int Output::end() const {
    return problem_ == EPIPE || wroteAll() ? 0 : 1;
}

} // namespace velmoran
