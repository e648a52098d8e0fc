// The introduction at the first start: a few pages, then the choice to have the program opened at
// login. Main thread.
#pragma once

#include "app/contents/OnboardingPages.h"
#include "app/model/LoginItem.h"
#include "app/screens/ScreenContext.h"

#include <QWidget>
#include <cstddef>
#include <functional>
#include <vector>

namespace velmoran {

class FaceButton;
class LineLabel;
class Switch;
class SymbolLabel;
class TextLabel;

class OnboardingView final : public QWidget {
public:
    /// The login item outlives the view; `finish` is called once, when it is done.
    OnboardingView(ScreenContext context, LoginItem& loginItem, std::function<void()> finish,
                   QWidget* parent = nullptr);

    QSize sizeHint() const override;

private:
    QWidget* makeButtons();
    void showStep();
    void goOn();

    ScreenContext context_;
    LoginItem& loginItem_;
    std::function<void()> finish_;
    const std::vector<OnboardingPage> pages_ = OnboardingPages::pages();
    std::size_t step_ = 0; ///< the last one is as many as there are pages
    SymbolLabel* symbol_;
    QWidget* icon_; ///< in the symbol's place at the last step
    TextLabel* title_;
    TextLabel* text_;
    QWidget* openAtLogin_; ///< the line with the switch
    Switch* opensAtLogin_;
    LineLabel* stepText_ = nullptr;
    FaceButton* back_ = nullptr;
    FaceButton* next_ = nullptr;
};

} // namespace velmoran
