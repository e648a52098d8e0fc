#include "ctl/Output.h"

#include <cstdio>

namespace velmoran {

void Output::write(const std::string& line) {
    if (!open_) {
        return;
    }
    const auto text = line + "\n";
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        open_ = false;
        if (onGone_) {
            onGone_();
        }
    }
}

} // namespace velmoran
