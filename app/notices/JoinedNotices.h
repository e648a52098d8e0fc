// The cards as a person is shown them: those of one app as one, which is the newest of them and
// says how often; whoever can't be named is one "Unknown app". The center's list has each alone.
// Owned by whatever draws the cards; main thread.
#pragma once

#include "app/notices/NoticeCenter.h"

#include <functional>
#include <vector>

namespace velmoran {

class JoinedNotices {
public:
    /// `changed` is called whenever there is something else to draw. The center outlives this.
    JoinedNotices(NoticeCenter& notices, std::function<void()> changed);

    /// Each where its newest card stands, so that the newest of all comes last. A card that has
    /// stood for a minute says at what time it happened.
    std::vector<NoticeItem> items() const;
    /// The user clicks a button, which acts for all cards of that app. False if there is no such
    /// card or button.
    bool press(const Uuid& id, const Uuid& button);
    /// The user closes all cards of that app.
    void close(const Uuid& id);

private:
    std::vector<Uuid> joinedWith(const Uuid& id) const;
    void pressEach(const std::vector<Uuid>& cards, const NoticeButton& button);
    void changeAtOnce(const std::function<void()>& change);
    void note();

    NoticeCenter& notices_;
    std::function<void()> changed_;
    bool isChanging_ = false;
    bool hasChanged_ = false; ///< meanwhile
    Subscription changes_;
    Subscription ageing_;
};

} // namespace velmoran
