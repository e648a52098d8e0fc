// All stored sessions in one order, as the screens read them: a value that is copied in constant
// time, never changes once it is handed out, and shares with its successor all but the one place
// that was changed. Made by HistoryStore. Any thread may read a copy.
#pragma once

#include "core/history/SessionRef.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <vector>

namespace velmoran {

/// Newest start first; sessions with the same start in the order in which they were first stored.
/// Reading by index costs a binary search over some hundreds of pieces; walking costs nothing
/// extra.
class HistoryView {
public:
    /// Where a session stands in the order.
    struct Place {
        Timestamp start;
        std::int64_t row = 0; ///< grows with each session that is stored for the first time
    };
    struct Entry {
        Place place;
        SessionRef session;
    };
    class Iterator;
    using value_type = UsageSession;
    using const_iterator = Iterator;

    HistoryView() = default;
    /// From entries in any order, no two in the same place.
    static HistoryView sorted(std::vector<Entry> entries);

    std::size_t size() const;
    bool empty() const { return size() == 0; }
    /// `index` < size(). The reference lives as long as this list or any copy of it.
    const UsageSession& operator[](std::size_t index) const;
    const UsageSession& front() const { return (*this)[0]; }
    /// Iterators live as long as this list or any copy of it.
    Iterator begin() const;
    Iterator end() const;
    /// All of them, shared with this list.
    SessionList sessions() const;
    /// The first session with that id, or `end()`. A walk.
    Iterator find(const Uuid& id) const;

    /// This list with one more session, or with another session in a place that is taken.
    HistoryView with(Entry entry) const;
    /// This list without what stands in that place; itself if nothing does.
    HistoryView without(const Place& place) const;
    /// This list without the sessions that started before that moment.
    HistoryView withoutStartsBefore(Timestamp moment) const;
    /// The place of the session with that id that starts then; nothing if it isn't in the list.
    std::optional<Place> placeOf(const Uuid& id, Timestamp start) const;

    /// Session by session. Pieces that both lists share aren't looked at, so a list and its
    /// successor are compared in far less than the time of a walk.
    bool operator==(const HistoryView& other) const;

private:
    using Piece = std::vector<Entry>;
    struct Node {
        std::shared_ptr<const Piece> piece; ///< never empty
        std::size_t before = 0;             ///< sessions in the pieces before this one
    };
    using Spine = std::vector<Node>;

    explicit HistoryView(Spine spine);
    /// The index of the piece that holds or would hold the place.
    std::size_t pieceFor(const Place& place) const;
    static bool precedes(const Place& left, const Place& right);

    std::shared_ptr<const Spine> spine_; ///< null when empty
};

class HistoryView::Iterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = UsageSession;
    using difference_type = std::ptrdiff_t;
    using pointer = const UsageSession*;
    using reference = const UsageSession&;

    Iterator() = default;

    reference operator*() const { return *shared(); }
    pointer operator->() const { return &**this; }
    reference operator[](difference_type by) const { return *(*this + by); }
    /// The session to keep, beyond the life of the list.
    const SessionRef& shared() const { return (*spine_)[node_].piece->operator[](offset_).session; }

    Iterator& operator++();
    Iterator& operator--();
    Iterator operator++(int) {
        auto old = *this;
        ++*this;
        return old;
    }
    Iterator operator--(int) {
        auto old = *this;
        --*this;
        return old;
    }
    Iterator& operator+=(difference_type by);
    Iterator& operator-=(difference_type by) { return *this += -by; }
    friend Iterator operator+(Iterator at, difference_type by) { return at += by; }
    friend Iterator operator+(difference_type by, Iterator at) { return at += by; }
    friend Iterator operator-(Iterator at, difference_type by) { return at -= by; }
    friend difference_type operator-(const Iterator& left, const Iterator& right) {
        return left.index() - right.index();
    }
    bool operator==(const Iterator& other) const {
        return node_ == other.node_ && offset_ == other.offset_;
    }
    std::strong_ordering operator<=>(const Iterator& other) const {
        return index() <=> other.index();
    }

private:
    friend class HistoryView;
    Iterator(const Spine* spine, std::size_t node, std::size_t offset)
        : spine_(spine),
          node_(node),
          offset_(offset) {}
    difference_type index() const;

    const Spine* spine_ = nullptr;
    std::size_t node_ = 0;
    std::size_t offset_ = 0;
};

} // namespace velmoran
