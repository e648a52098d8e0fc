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

int Output::end() const {
    // A reader that has gone had enough; anything else has lost lines.
    if (open_ || problem_ == EPIPE) {
        return 0;
    }
    std::cerr << "velmoranctl: the output can't be written: "
              << std::generic_category().message(problem_) << '\n';
    return 1;
}

} // namespace velmoran
