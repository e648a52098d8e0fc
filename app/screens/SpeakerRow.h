// Where sound goes right now, and who has it open. Part of the panel; main thread.
#pragma once

#include "app/contents/SpeakerContent.h"
#include "app/controls/Labels.h"

#include <optional>

namespace velmoran {

class SpeakerRow final : public QWidget {
public:
    explicit SpeakerRow(QWidget* parent);
    void present(const SpeakerContent& content);

private:
    SymbolLabel* symbol_;
    LineLabel* title_;
    TextLabel* line_;
    LineLabel* state_;
    std::optional<SpeakerContent> shown_;
};

} // namespace velmoran
