// How a client of the bus learns which process serves whom it asks. The bus only says which process
// has made a connection, and that may have left it to another one and become another program since.
// So the client listens on an abstract socket of its own (unix(7)), and whoever is asked comes
// there: the kernel says which process that is. Any thread.
#pragma once

#include <cstdint>
#include <string>

namespace velmoran {

/// Asked once, by a client.
class IdentityQuestion {
public:
    IdentityQuestion();
    ~IdentityQuestion();
    IdentityQuestion(const IdentityQuestion&) = delete;
    IdentityQuestion& operator=(const IdentityQuestion&) = delete;

    /// Where to come.
    const std::string& place() const { return place_; }
    /// Whether that process is among those who have come.
    bool isAnsweredBy(std::int32_t pid) const;

private:
    std::string place_;
    int socket_;
};

/// Comes there. False for what can't be such a place.
bool answerIdentity(const std::string& place);

} // namespace velmoran
