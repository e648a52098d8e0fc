// What a symbol's SVG draws, for a painter. Our own symbols use few of SVG's forms, so that these
// are read here: the plugin that reads all of SVG isn't on every machine, and a card would have to
// wait for it to be loaded. A plain value.
#pragma once

#include <QPainterPath>
#include <QString>
#include <string_view>
#include <vector>

namespace velmoran {

/// One form, in the grid of 24 by 24.
struct SymbolShape {
    QPainterPath path;
    bool isFilled = false;
    double lineWidth = 0; ///< 0: no line; caps and joins are round
};

/// Reads `svg`: an element "svg" whose viewBox is "0 0 24 24", in it "path" (with M, L, H, V, C, A
/// and Z, all absolute, radii of A alike), "circle" and "rect" with rx; fill, fill-rule, stroke and
/// stroke-width on each or from the outer element; the one colour is currentColor. Empty if there
/// is anything else in it.
std::vector<SymbolShape> symbolShapes(std::string_view svg);

} // namespace velmoran
