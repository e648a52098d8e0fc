#include "integration/layers/Layers.h"

#include "support/SessionFiles.h"
#include "support/Sway.h"

#include <algorithm>
#include <fstream>

namespace velmoran {

namespace {

std::size_t dots(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '.'));
}

} // namespace

void OnLayers::hand(const std::vector<std::string>& lines) {
    auto& child = *session.child("hand");
    const auto before = dots(child.output());
    {
        std::ofstream fifo(session.file("hand"));
        for (const auto& line : lines) {
            fifo << line << '\n';
        }
    }
    ASSERT_TRUE(eventually([&] { return dots(child.output()) == before + lines.size(); }))
        << session.logs();
}

void OnLayers::moveTo(QPoint place) {
    hand({"move " + std::to_string(place.x()) + ' ' + std::to_string(place.y())});
}

void OnLayers::clickAt(QPoint place) {
    moveTo(place);
    hand({"click"});
}

void OnLayers::sway(const std::vector<std::string>& words) {
    EXPECT_NE(support::askSway(session, words), "") << session.logs();
}

void OnLayers::startEditor(bool fullScreen) {
    session.start("editor", fullScreen ? std::vector<std::string>{TYPED_TEXT, "full-screen"}
                                       : std::vector<std::string>{TYPED_TEXT});
    ASSERT_TRUE(eventually([&] {
        return session.child("editor")->output().find("ready\n") != std::string::npos;
    })) << session.logs();
}

std::string OnLayers::editorHas() {
    std::string all;
    for (const char c : session.child("editor")->output().substr(6)) {
        if (c != '\n') {
            all += c;
        }
    }
    return all;
}

void OnLayers::expectTyped(const std::string& all, const std::string& key) {
    hand({"key " + key});
    EXPECT_TRUE(eventually([&] { return editorHas() == all; })) << editorHas();
}

} // namespace velmoran
