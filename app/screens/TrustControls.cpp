#include "app/screens/TrustControls.h"

#include "app/contents/TrustWording.h"
#include "app/controls/Groups.h"
#include "app/screens/ScreenText.h"

#include <QHBoxLayout>
#include <QHideEvent>
#include <utility>

namespace velmoran {

namespace {

constexpr int trustSymbol = 22; ///< at which the bars of its crossing are 28 and 30 points long
constexpr int trustButton = 32;

} // namespace

int TrustControls::besideSymbol() {
    constexpr int ofTheSymbol = 1; // of its own square
    return (trustButton - trustSymbol) / 2 + ofTheSymbol;
}

TrustControls::TrustControls(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      trust_(new SymbolButton(QStringLiteral("checkmark.shield.fill"), trustSymbol, trustButton,
                              this)),
      warn_(new SymbolButton(QStringLiteral("megaphone.fill"), trustSymbol, trustButton, this)) {
    setObjectName(QStringLiteral("trustControls"));
    trust_->setObjectName(QStringLiteral("trust"));
    warn_->setObjectName(QStringLiteral("alwaysWarn"));
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(4);
    line->addWidget(trust_);
    line->addWidget(warn_);
    QObject::connect(trust_, &QAbstractButton::clicked, this,
                     [this] { ask(choice_->ofTrustSwitch()); });
    QObject::connect(warn_, &QAbstractButton::clicked, this,
                     [this] { ask(choice_->ofWarnSwitch()); });
}

TrustControls::~TrustControls() {
    withdraw();
}

void TrustControls::present(const TrustChoice& choice) {
    if (choice_ == choice) {
        return;
    }
    choice_ = choice;
    withdraw(); // what it says may no longer be what would be done
    const auto show = [](SymbolButton& button, bool isOn, const TrustWording::Switch& texts) {
        button.setCrossed(!isOn);
        button.setInk(isOn ? Ink::text : Ink::secondary);
        button.setWords(qt(texts.help), qt(texts.label));
    };
    show(*trust_, choice.allTrusted, TrustWording::trustSwitch(choice));
    show(*warn_, choice.allWarning, TrustWording::warnSwitch(choice));
    setVisible(choice.canChange());
}

void TrustControls::ask(Change change) {
    if (pending_) {
        return;
    }
    pending_ = change;
    const auto texts = TrustWording::confirmation(change, *choice_);
    question_ = velmoran::ask(
        window(),
        {.title = qt(texts.title), .message = qt(texts.message), .confirm = qt(texts.confirm)},
        [this, change, choice = *choice_] {
            pending_.reset();
            question_.clear(); // it is closing
            choice.apply(change, model_);
        });
    QObject::connect(question_.data(), &QDialog::finished, this, [this] { pending_.reset(); });
}

void TrustControls::withdraw() {
    pending_.reset();
    // First forgotten: its end must not be taken for that of a later one.
    if (auto* question = std::exchange(question_, nullptr).data()) {
        question->disconnect(this);
        question->reject();
    }
}

void TrustControls::hideEvent(QHideEvent* event) {
    if (!event->spontaneous()) { // minimized is not gone
        withdraw();
    }
    QWidget::hideEvent(event);
}

} // namespace velmoran
