// Whatever a recording holds: the reader never crashes, says what is wrong in one line of UTF-8,
// and reads a stream line by line as it reads the lines alone.
#include "app/replay/ReplayReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

void mustBePrintable(const std::string& message) {
    if (message.empty()) {
        std::abort();
    }
    for (const char c : message) {
        if (static_cast<unsigned char>(c) < 0x20) {
            std::abort();
        }
    }
    (void)velmoran::Json(message).dump(); // throws, and so ends this, if it isn't UTF-8
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const std::string text(reinterpret_cast<const char*>(data), size);
    bool readable = true;
    try {
        (void)parseReplayLine(text);
    } catch (const DecodingError& error) {
        readable = false;
        mustBePrintable(error.what());
    }

    std::istringstream input(text);
    ReplayReader reader(input);
    std::size_t last = 0;
    try {
        while (reader.next()) {
            if (reader.lineNumber() <= last) {
                std::abort();
            }
            last = reader.lineNumber();
        }
    } catch (const ReplayError& error) {
        if (error.line() <= last) {
            std::abort();
        }
        mustBePrintable(error.what());
        // One readable line in the middle of nothing else can be read as a stream, too.
        if (readable && text.find('\n') == std::string::npos) {
            std::abort();
        }
    }
    return 0;
}
