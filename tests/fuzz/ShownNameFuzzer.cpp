// Whatever a program calls itself or its folder: of what is shown of it nothing reaches beyond its
// place, and the same name made to look a little different has the same skeleton.
#include "core/text/ConfinedText.h"
#include "core/text/NameSkeleton.h"
#include "core/text/PlainLine.h"
#include "core/text/VisibleText.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void expect(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace velmoran;
    const std::string text(reinterpret_cast<const char*>(data), size);
    constexpr std::size_t columns = 30;
    const auto shown = confinedText(text, columns);
    expect(shown.find_first_of("()\n\x1b\x7f") == std::string::npos);
    expect(plainLine(shown) == shown);
    expect(shown.empty() || showsAnything(shown));
    expect(shown.size() <= 4 * columns);
    expect(!shown.starts_with(' ') && !shown.ends_with(' '));
    expect(confinedText(shown, columns) == shown);

    const auto skeleton = nameSkeleton(text);
    expect(nameSkeleton(text + " \u200b\u202e") == skeleton);
    expect(nameSkeleton("(" + text + ")") == skeleton);
    return 0;
}
