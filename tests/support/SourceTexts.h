// The texts that stand in the program's sources as keys of the words: the literal, adjacent ones
// joined, that opens the call `text(…)`. Pure.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

struct SourceText {
    std::string key; ///< empty if the call of `words().text` doesn't open with a literal
    std::size_t line = 0;
};

class SourceTexts {
public:
    explicit SourceTexts(std::string_view source) : source_(source) { read(); }
    std::vector<SourceText> found() const { return found_; }

private:
    bool ahead(std::string_view what) const { return source_.substr(at_).starts_with(what); }

    void step() { line_ += source_[at_++] == '\n' ? 1 : 0; }

    /// Over white space and comments.
    void skipBlank() {
        while (at_ < source_.size()) {
            if (ahead("//")) {
                while (at_ < source_.size() && source_[at_] != '\n') {
                    ++at_;
                }
            } else if (ahead("/*")) {
                while (at_ < source_.size() && !ahead("*/")) {
                    step();
                }
                at_ = std::min(at_ + 2, source_.size());
            } else if (std::isspace(static_cast<unsigned char>(source_[at_])) != 0) {
                step();
            } else {
                return;
            }
        }
    }

    std::string literal() {
        std::string text;
        for (++at_; at_ < source_.size() && source_[at_] != '"'; ++at_) {
            if (source_[at_] == '\\' && at_ + 1 < source_.size()) {
                ++at_;
                text += source_[at_] == 'n' ? '\n' : source_[at_] == 't' ? '\t' : source_[at_];
            } else {
                text += source_[at_];
            }
        }
        ++at_;
        return text;
    }

    void rawLiteral() {
        const auto open = source_.find('(', at_);
        const std::string end = ")" + std::string(source_.substr(at_ + 2, open - at_ - 2)) + "\"";
        const auto stop = std::min(source_.find(end, open), source_.size() - end.size());
        while (at_ < stop + end.size()) {
            step();
        }
    }

    void read() {
        while (skipBlank(), at_ < source_.size()) {
            if (ahead("R\"")) {
                rawLiteral();
            } else if (source_[at_] == '"') {
                literal();
            } else if (ahead("'")) {
                at_ += source_[std::min(at_ + 1, source_.size() - 1)] == '\\' ? 4 : 3;
            } else if (std::isalnum(static_cast<unsigned char>(source_[at_])) != 0) {
                readWord();
            } else {
                step();
            }
        }
    }

    void readWord() {
        const auto start = at_;
        while (at_ < source_.size() && (std::isalnum(static_cast<unsigned char>(source_[at_])) ||
                                        source_[at_] == '_' || source_[at_] == '\'')) {
            ++at_;
        }
        if (source_.substr(start, at_ - start) != "text" || !ahead("(")) {
            return;
        }
        const bool ofWords = source_.substr(0, start).ends_with("words().");
        const auto line = line_;
        ++at_;
        skipBlank();
        std::string key;
        while (at_ < source_.size() && source_[at_] == '"') {
            key += literal();
            skipBlank();
        }
        if (ofWords || !key.empty()) {
            found_.push_back({key, line});
        }
    }

    std::string_view source_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    std::vector<SourceText> found_;
};

} // namespace velmoran
