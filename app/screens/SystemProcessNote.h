// What a part of the operating system does, and why that can be relied on: the note at its name.
// Main thread.
#pragma once

#include "app/contents/DetailsContent.h"

#include <QWidget>

namespace velmoran {

class SystemProcessNote final : public QWidget {
public:
    explicit SystemProcessNote(const SystemProcessContent& content, QWidget* parent = nullptr);
};

} // namespace velmoran
