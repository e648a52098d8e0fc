#include "core/history/HistoryView.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace velmoran {

namespace {
// A change copies one piece and the spine. With pieces of this size the two cost about the same at
// a hundred thousand sessions, some hundreds of pointers each.
constexpr std::size_t largestPiece = 256;
constexpr std::size_t freshPiece = 192; // leaves room, so that the next change doesn't split it
} // namespace

bool HistoryView::precedes(const Place& left, const Place& right) {
    return left.start > right.start || (left.start == right.start && left.row < right.row);
}

HistoryView::HistoryView(Spine spine) {
    std::size_t before = 0;
    for (auto& node : spine) {
        node.before = before;
        before += node.piece->size();
    }
    if (!spine.empty()) {
        spine_ = std::make_shared<const Spine>(std::move(spine));
    }
}

HistoryView HistoryView::sorted(std::vector<Entry> entries) {
    std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
        return precedes(left.place, right.place);
    });
    Spine spine;
    spine.reserve(entries.size() / freshPiece + 1);
    for (std::size_t from = 0; from < entries.size(); from += freshPiece) {
        const auto to = std::min(entries.size(), from + freshPiece);
        const auto at = [&](std::size_t index) {
            return std::make_move_iterator(entries.begin() + static_cast<std::ptrdiff_t>(index));
        };
        spine.push_back({std::make_shared<const Piece>(at(from), at(to)), 0});
    }
    return HistoryView(std::move(spine));
}

std::size_t HistoryView::size() const {
    return spine_ ? spine_->back().before + spine_->back().piece->size() : 0;
}

const UsageSession& HistoryView::operator[](std::size_t index) const {
    return begin()[static_cast<std::ptrdiff_t>(index)];
}

HistoryView::Iterator HistoryView::begin() const {
    return {spine_.get(), 0, 0};
}

HistoryView::Iterator HistoryView::end() const {
    return {spine_.get(), spine_ ? spine_->size() : 0, 0};
}

SessionList HistoryView::sessions() const {
    SessionList result;
    result.reserve(size());
    for (auto at = begin(); at != end(); ++at) {
        result.push_back(at.shared());
    }
    return result;
}

HistoryView::Iterator HistoryView::find(const Uuid& id) const {
    return std::find_if(begin(), end(), [&id](const UsageSession& each) { return each.id == id; });
}

std::size_t HistoryView::pieceFor(const Place& place) const {
    const auto after = std::upper_bound(spine_->begin(), spine_->end(), place,
                                        [](const Place& key, const Node& node) {
                                            return precedes(key, node.piece->front().place);
                                        });
    return after == spine_->begin() ? 0 : static_cast<std::size_t>(after - spine_->begin()) - 1;
}

HistoryView HistoryView::with(Entry entry) const {
    if (!spine_) {
        return sorted({std::move(entry)});
    }
    const auto index = pieceFor(entry.place);
    const auto& old = *(*spine_)[index].piece;
    const auto position = std::lower_bound(
        old.begin(), old.end(), entry.place,
        [](const Entry& each, const Place& place) { return precedes(each.place, place); });
    const bool isReplaced = position != old.end() && !precedes(entry.place, position->place);

    Piece piece;
    piece.reserve(old.size() + 1);
    piece.insert(piece.end(), old.begin(), position);
    piece.push_back(std::move(entry));
    piece.insert(piece.end(), isReplaced ? std::next(position) : position, old.end());

    Spine spine;
    spine.reserve(spine_->size() + 1);
    spine = *spine_;
    if (piece.size() > largestPiece) {
        const auto middle = piece.begin() + static_cast<std::ptrdiff_t>(piece.size() / 2);
        auto second = std::make_shared<const Piece>(middle, piece.end());
        piece.erase(middle, piece.end());
        spine.insert(spine.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                     {std::move(second), 0});
    }
    spine[index].piece = std::make_shared<const Piece>(std::move(piece));
    return HistoryView(std::move(spine));
}

HistoryView HistoryView::without(const Place& place) const {
    if (!spine_) {
        return *this;
    }
    const auto index = pieceFor(place);
    const auto& old = *(*spine_)[index].piece;
    const auto position = std::find_if(old.begin(), old.end(), [&](const Entry& each) {
        return each.place.row == place.row && each.place.start == place.start;
    });
    if (position == old.end()) {
        return *this;
    }
    Spine spine = *spine_;
    if (old.size() == 1) {
        spine.erase(spine.begin() + static_cast<std::ptrdiff_t>(index));
    } else {
        Piece piece(old);
        piece.erase(piece.begin() + (position - old.begin()));
        spine[index].piece = std::make_shared<const Piece>(std::move(piece));
    }
    return HistoryView(std::move(spine));
}

HistoryView HistoryView::withoutStartsBefore(Timestamp moment) const {
    if (!spine_ || !(spine_->back().piece->back().place.start < moment)) {
        return *this;
    }
    Spine spine;
    for (const auto& node : *spine_) {
        if (node.piece->front().place.start < moment) {
            break;
        }
        if (node.piece->back().place.start < moment) {
            const auto last =
                std::find_if(node.piece->begin(), node.piece->end(),
                             [&](const Entry& entry) { return entry.place.start < moment; });
            spine.push_back({std::make_shared<const Piece>(node.piece->begin(), last), 0});
            break;
        }
        spine.push_back(node);
    }
    return HistoryView(std::move(spine));
}

std::optional<HistoryView::Place> HistoryView::placeOf(const Uuid& id, Timestamp start) const {
    if (!spine_) {
        return std::nullopt;
    }
    const Place first{start, std::numeric_limits<std::int64_t>::min()};
    for (auto index = pieceFor(first); index < spine_->size(); ++index) {
        for (const auto& entry : *(*spine_)[index].piece) {
            if (entry.place.start < start) {
                return std::nullopt;
            }
            if (entry.place.start == start && entry.session->id == id) {
                return entry.place;
            }
        }
    }
    return std::nullopt;
}

bool HistoryView::operator==(const HistoryView& other) const {
    if (spine_ == other.spine_) {
        return true;
    }
    if (size() != other.size()) {
        return false;
    }
    auto mine = begin();
    auto theirs = other.begin();
    const auto last = end();
    while (mine != last) {
        const auto& myPiece = (*spine_)[mine.node_].piece;
        const auto& theirPiece = (*other.spine_)[theirs.node_].piece;
        if (myPiece == theirPiece && mine.offset_ == theirs.offset_) {
            const auto rest = static_cast<std::ptrdiff_t>(myPiece->size() - mine.offset_);
            mine += rest;
            theirs += rest;
            continue;
        }
        const auto& mySession = (*myPiece)[mine.offset_].session;
        const auto& theirSession = (*theirPiece)[theirs.offset_].session;
        if (mySession != theirSession && *mySession != *theirSession) {
            return false;
        }
        ++mine;
        ++theirs;
    }
    return true;
}

HistoryView::Iterator& HistoryView::Iterator::operator++() {
    if (++offset_ == (*spine_)[node_].piece->size()) {
        offset_ = 0;
        ++node_;
    }
    return *this;
}

HistoryView::Iterator& HistoryView::Iterator::operator--() {
    if (offset_ == 0) {
        --node_;
        offset_ = (*spine_)[node_].piece->size();
    }
    --offset_;
    return *this;
}

HistoryView::Iterator& HistoryView::Iterator::operator+=(difference_type by) {
    if (!spine_) {
        return *this;
    }
    const auto target = static_cast<std::size_t>(index() + by);
    const auto after =
        std::upper_bound(spine_->begin(), spine_->end(), target,
                         [](std::size_t wanted, const Node& node) { return wanted < node.before; });
    node_ = static_cast<std::size_t>(after - spine_->begin()) - 1;
    offset_ = target - (*spine_)[node_].before;
    if (offset_ == (*spine_)[node_].piece->size()) {
        ++node_; // the end
        offset_ = 0;
    }
    return *this;
}

HistoryView::Iterator::difference_type HistoryView::Iterator::index() const {
    if (!spine_) {
        return 0;
    }
    if (node_ == spine_->size()) {
        return static_cast<difference_type>(spine_->back().before + spine_->back().piece->size());
    }
    return static_cast<difference_type>((*spine_)[node_].before + offset_);
}

} // namespace velmoran
