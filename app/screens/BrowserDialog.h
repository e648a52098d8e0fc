// The question before a stop closes browsers, as a window in front of the others. The program goes
// on meanwhile. One per program, owned by the application delegate, its window there only while it
// asks; main thread.
#pragma once

#include "app/model/StopQuestion.h"

#include <QDialog>
#include <QPointer>
#include <functional>
#include <memory>

namespace velmoran {

class BrowserDialog final {
public:
    using Answer = std::function<void(BrowserAnswer)>;

    BrowserDialog() = default;
    /// An open question gets no answer any more.
    ~BrowserDialog();
    BrowserDialog(const BrowserDialog&) = delete;
    BrowserDialog& operator=(const BrowserDialog&) = delete;

    /// Shows the question and calls `answer` once, when the person has answered. Escape and closing
    /// the window cancel, and so does Enter as long as no other button was chosen: what a browser
    /// has open can't be brought back, while a stop can be asked for again. One question at a time:
    /// another one is cancelled at once, and the first one comes to the front. What it gives is for
    /// this one question, and not used after the dialog has gone.
    ShownQuestion ask(const BrowserQuestion& question, const Answer& answer);
    /// Null while nothing is asked.
    QDialog* window() const { return window_.get(); }

private:
    void raise();
    void withdraw();
    void leave();

    std::unique_ptr<QDialog> window_;
    QPointer<QDialog> leaving_; ///< answered or taken back, and soon deleted
};

} // namespace velmoran
