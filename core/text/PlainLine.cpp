#include "core/text/PlainLine.h"

namespace velmoran {

std::string plainLine(std::string text) {
    for (auto& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            c = ' ';
        }
    }
    // The same characters in their two-byte form.
    for (auto at = text.find('\xC2'); at != std::string::npos; at = text.find('\xC2', at + 1)) {
        if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0) {
            text.replace(at, 2, " ");
        }
    }
    return text;
}

} // namespace velmoran
