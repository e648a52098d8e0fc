// The built-in catalogues as the build makes them from the .json files. Constants; any thread.
#pragma once

#include <span>
#include <string_view>

namespace velmoran {

struct CatalogueEntry {
    std::string_view key; ///< the English sentence
    std::string_view text;
};

struct CatalogueTable {
    std::string_view name; ///< "de", "linux_de": the file's name after "velmoran_"
    std::span<const CatalogueEntry> entries;
};

std::span<const CatalogueTable> catalogueTables();

} // namespace velmoran
