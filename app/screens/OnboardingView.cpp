#include "app/screens/OnboardingView.h"

#include "app/controls/Choices.h"
#include "app/controls/Labels.h"
#include "app/screens/ScreenText.h"
#include "core/text/Localizer.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>
#include <utility>

namespace velmoran {

namespace {

constexpr QSize onboardingSize(460, 400);
constexpr int edge = 20;
constexpr int pageSides = 40;
constexpr int largeSymbol = 64;
constexpr int underSymbol = 20;
constexpr int underTitle = 8;
constexpr int aboveSwitch = 16;
constexpr int aboveSymbol = 40; ///< the same on all pages, and less where a text needs the room
constexpr int betweenButtons = 8;

/// The program's icon as it stands in the tray while nothing is on, larger.
class IdleIcon final : public QWidget {
public:
    explicit IdleIcon(QWidget* parent) : QWidget(parent) { setFixedSize(largeSymbol, largeSymbol); }

protected:
    void paintEvent(QPaintEvent*) override {
        constexpr double side = 18;
        constexpr double ring = 2.5;
        constexpr double dot = 6.5;
        constexpr double width = 1.6;
        const QRectF square(0, 0, side, side);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(largeSymbol / side, largeSymbol / side);
        const auto ink = palette().color(QPalette::WindowText);
        painter.setPen(QPen(ink, width));
        painter.drawEllipse(square.adjusted(ring, ring, -ring, -ring));
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink);
        painter.drawEllipse(square.adjusted(dot, dot, -dot, -dot));
    }
};

} // namespace

OnboardingView::OnboardingView(ScreenContext context, LoginItem& loginItem,
                               std::function<void()> finish, QWidget* parent)
    : QWidget(parent),
      context_(std::move(context)),
      loginItem_(loginItem),
      finish_(std::move(finish)),
      symbol_(new SymbolLabel(qt(pages_.front().symbol), largeSymbol, Ink::text, this)),
      icon_(new IdleIcon(this)),
      title_(new TextLabel({}, TextStyle::title3, Ink::text, this)),
      text_(new TextLabel({}, TextStyle::body, Ink::text, this)) {
    setObjectName(QStringLiteral("onboarding"));
    title_->setObjectName(QStringLiteral("onboardingTitle"));
    text_->setObjectName(QStringLiteral("onboardingText"));
    title_->setAlignment(Qt::AlignHCenter);

    const auto login = qt(OnboardingPages::openAtLogin());
    opensAtLogin_ = new Switch(login, this);
    opensAtLogin_->setChecked(true);
    openAtLogin_ = new FormRow(login, {}, opensAtLogin_, this);

    auto* page = new QVBoxLayout;
    page->setContentsMargins(pageSides, 0, pageSides, 0);
    page->setSpacing(0);
    page->addSpacerItem(
        new QSpacerItem(0, aboveSymbol, QSizePolicy::Minimum, QSizePolicy::Maximum));
    page->addWidget(symbol_, 0, Qt::AlignHCenter);
    page->addWidget(icon_, 0, Qt::AlignHCenter);
    page->addSpacing(underSymbol);
    page->addWidget(title_);
    page->addSpacing(underTitle);
    page->addWidget(text_);
    page->addSpacing(aboveSwitch);
    page->addWidget(openAtLogin_);
    page->addStretch();

    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(edge, edge, edge, edge);
    whole->addLayout(page, 1);
    whole->addWidget(makeButtons());
    showStep();
}

QSize OnboardingView::sizeHint() const {
    return onboardingSize;
}

QWidget* OnboardingView::makeButtons() {
    auto* bar = new QWidget(this);
    auto* line = new QHBoxLayout(bar);
    line->setContentsMargins({});
    line->setSpacing(betweenButtons);
    stepText_ = new LineLabel({}, TextStyle::caption, Ink::secondary, bar);
    stepText_->setObjectName(QStringLiteral("onboardingStep"));
    line->addWidget(stepText_, 1);
    back_ = new FaceButton(qt(words().text("Back")), FaceButton::Face::plain, bar);
    connect(back_, &FaceButton::clicked, this, [this] {
        --step_;
        showStep();
    });
    line->addWidget(back_);
    next_ = new FaceButton({}, FaceButton::Face::prominent, bar);
    connect(next_, &FaceButton::clicked, this, [this] { goOn(); });
    line->addWidget(next_);
    return bar;
}

void OnboardingView::showStep() {
    const bool isLast = step_ >= pages_.size();
    const auto page = isLast ? OnboardingPages::last() : pages_[step_];
    symbol_->setVisible(!isLast);
    if (!isLast) {
        symbol_->setSymbol(qt(page.symbol));
    }
    icon_->setVisible(isLast);
    title_->setPlain(qt(page.title));
    text_->setPlain(qt(page.text));
    // A sentence or two stand under their title; what has paragraphs is read from their beginnings.
    text_->setAlignment(page.text.find('\n') == std::string::npos ? Qt::AlignHCenter
                                                                  : Qt::AlignLeft);
    openAtLogin_->setVisible(isLast);
    stepText_->setPlain(qt(OnboardingPages::stepText(step_, pages_.size())));
    const auto next = qt(isLast ? words().text("Done") : words().text("Continue"));
    next_->setPlain(next);
    // Whoever walks by the keyboard stays where the road goes on.
    if (back_->hasFocus() && step_ == 0) {
        next_->setFocus();
    }
    back_->setVisible(step_ > 0);
}

void OnboardingView::goOn() {
    if (step_ < pages_.size()) {
        ++step_;
        showStep();
        return;
    }
    if (opensAtLogin_->isChecked()) {
        // A refusal is no matter here: the settings say how it is.
        loginItem_.set(true);
    }
    context_.model.settings.onboardingDone.set(true);
    // A copy: it may be the end of this view.
    const auto finish = finish_;
    finish();
}

} // namespace velmoran
