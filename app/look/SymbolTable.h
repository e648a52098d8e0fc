// The pictures of app/look/symbols, built in under the names of their files. Constants; any thread.
#pragma once

#include <span>
#include <string_view>

namespace velmoran {

struct SymbolEntry {
    std::string_view name;
    std::string_view svg;
};

std::span<const SymbolEntry> symbolTable();

} // namespace velmoran
