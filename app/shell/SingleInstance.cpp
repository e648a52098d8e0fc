#include "app/shell/SingleInstance.h"

#include <QTimer>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmoran {

namespace {

struct Address {
    sockaddr_un value{};
    socklen_t size = 0;
};

/// In the abstract namespace, with the user and the session's runtime folder in the name: each user
/// has a program of their own, and so has a session that is closed off from the user's other one.
std::string fullName(const std::string& name) {
    const char* session = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    return name + "-" + std::to_string(::getuid()) + (session ? std::string("-") + session : "");
}

Address addressOf(const std::string& place) {
    Address address;
    address.value.sun_family = AF_UNIX;
    const auto length = std::min(place.size(), sizeof address.value.sun_path - 1);
    std::memcpy(&address.value.sun_path[1], place.data(), length);
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    return address;
}

const sockaddr* generic(const Address& address) {
    return reinterpret_cast<const sockaddr*>(&address.value);
}

class Socket {
public:
    Socket() : descriptor_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Socket() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int descriptor() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }
    bool connect(const std::string& place) const {
        const auto address = addressOf(place);
        return ::connect(descriptor_, generic(address), address.size) == 0;
    }

private:
    int descriptor_;
};

/// The process that listens at the other end.
ucred peerOf(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
               ? peer
               : ucred{.pid = 0, .uid = static_cast<uid_t>(-1), .gid = static_cast<gid_t>(-1)};
}

/// The process that has written the next byte, by the kernel's word; 0 if there is none.
pid_t writerOf(int socket) {
    char byte = 0;
    iovec place{.iov_base = &byte, .iov_len = 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))]; // NOLINT(*-avoid-c-arrays)
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (::recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1) {
        return 0;
    }
    const auto* header = CMSG_FIRSTHDR(&message);
    if (header == nullptr || header->cmsg_level != SOL_SOCKET ||
        header->cmsg_type != SCM_CREDENTIALS) {
        return 0;
    }
    ucred writer{};
    std::memcpy(&writer, CMSG_DATA(header), sizeof writer);
    return writer.pid;
}

/// Of somebody who listens in one of the places.
struct Question {
    std::string place;
    SingleInstance::Obstacle asked;
    std::unique_ptr<Socket> answer; ///< none from who is no Velmoran
};

/// To connect is to ask. The program of whoever listens says little by itself: somebody may have
/// begun to listen, let a child keep the socket and become Velmoran's program. So Velmoran answers,
/// and only an answer counts that is written after that look, by that very process. Nothing where
/// nobody listens.
std::optional<Question> ask(const std::string& place,
                            const std::function<bool(const PeerProgram&)>& isVelmoran) {
    const Socket looking;
    if (!looking.connect(place)) {
        return std::nullopt;
    }
    const auto peer = peerOf(looking.descriptor());
    Question question{.place = place, .asked = {.program = programOf(peer.pid)}, .answer = nullptr};
    question.asked.isVelmoran = peer.uid == ::getuid() && isVelmoran(question.asked.program);
    if (question.asked.isVelmoran) {
        auto asking = std::make_unique<Socket>();
        const int wanted = 1;
        if (::setsockopt(asking->descriptor(), SOL_SOCKET, SO_PASSCRED, &wanted, sizeof wanted) ==
                0 &&
            asking->connect(place)) {
            question.answer = std::move(asking);
        }
    }
    return question;
}

/// Waits for all of them together, so that many who don't answer cost no more than one. Who answers
/// is told the wish.
bool isAnswered(std::vector<Question>& questions, const std::string& wish,
                std::chrono::steady_clock::time_point deadline) {
    for (;;) {
        std::vector<pollfd> waiting;
        std::vector<Question*> asked;
        for (auto& question : questions) {
            if (question.answer) {
                waiting.push_back(
                    {.fd = question.answer->descriptor(), .events = POLLIN, .revents = 0});
                asked.push_back(&question);
            }
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (waiting.empty() || ::poll(waiting.data(), waiting.size(),
                                      static_cast<int>(std::max<long>(left.count(), 0))) < 1) {
            return false;
        }
        for (std::size_t i = 0; i < waiting.size(); ++i) {
            if (waiting[i].revents == 0) {
                continue;
            }
            if (writerOf(waiting[i].fd) == asked[i]->asked.program.pid) {
                const auto line = wish.substr(0, SingleInstance::longestWish) + '\n';
                ::send(waiting[i].fd, line.data(), line.size(), MSG_NOSIGNAL);
                return true;
            }
            asked[i]->answer.reset(); // hung up, or another's answer
        }
    }
}

} // namespace

/// Another start that has had its answer, until it has said what it wishes. One that only looked
/// hangs up without a word.
class SingleInstance::Wishing {
public:
    Wishing(int socket, std::function<void(const Wishing*)> heard)
        : socket_(socket),
          heard_(std::move(heard)),
          notifier_(socket, QSocketNotifier::Read) {
        QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { read(); });
    }
    ~Wishing() {
        notifier_.setEnabled(false);
        ::close(socket_);
    }
    Wishing(const Wishing&) = delete;
    Wishing& operator=(const Wishing&) = delete;

    /// Nothing as long as it is not whole, and if it never will be.
    std::optional<std::string> wish() const {
        const auto end = text_.find('\n');
        return end == std::string::npos ? std::nullopt : std::optional(text_.substr(0, end));
    }

private:
    void read() {
        std::array<char, longestWish + 1> room{};
        const auto count = ::recv(socket_, room.data(), room.size() - text_.size(), MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        text_.append(room.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count <= 0 || wish() || text_.size() > longestWish) {
            heard_(this);
        }
    }

    int socket_;
    std::string text_;
    std::function<void(const Wishing*)> heard_;
    QSocketNotifier notifier_;
};

SingleInstance::SingleInstance(const std::string& name, const std::string& wish,
                               const std::function<bool(const PeerProgram&)>& isVelmoran) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMilliseconds);
    const auto full = fullName(name);
    std::vector<Question> questions;
    const auto followOneThatHasGone = [&] {
        const auto gone = std::ranges::find_if(
            questions, [this](const Question& each) { return listen(each.place); });
        if (gone == questions.end()) {
            return false;
        }
        questions.erase(gone);
        return true;
    };
    for (int number = 1; number <= places; ++number) {
        const auto place = number == 1 ? full : std::to_string(number) + "-" + full;
        auto question = ask(place, isVelmoran);
        if (!question) { // free, it seems, but not if one of those before answers
            if (isAnswered(questions, wish, deadline)) {
                role_ = Role::second;
                return;
            }
            if (followOneThatHasGone() || listen(place)) {
                break;
            }
            question = ask(place, isVelmoran); // another start was faster, or it takes nobody
        }
        questions.push_back(question
                                ? *std::move(question)
                                : Question{.place = place, .asked = Obstacle(), .answer = nullptr});
    }
    if (role_ == Role::alone) { // every place is taken
        if (isAnswered(questions, wish, deadline)) {
            role_ = Role::second;
            return;
        }
        followOneThatHasGone();
    }
    for (auto& question : questions) {
        obstacles_.push_back(std::move(question.asked));
    }
}

SingleInstance::~SingleInstance() {
    notifier_.reset();
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

bool SingleInstance::listen(const std::string& place) {
    Socket socket;
    const auto address = addressOf(place);
    if (::bind(socket.descriptor(), generic(address), address.size) != 0 ||
        ::listen(socket.descriptor(), 8) != 0) {
        return false;
    }
    role_ = Role::first;
    socket_ = socket.release();
    notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { accept(); });
    return true;
}

void SingleInstance::accept() {
    const int peer = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (peer < 0) {
        return;
    }
    if (peerOf(peer).uid != ::getuid()) {
        ::close(peer);
        return;
    }
    ::send(peer, "", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (wishing_.size() == mostWishing) {
        wishing_.erase(wishing_.begin());
    }
    wishing_.push_back(
        std::make_unique<Wishing>(peer, [this](const Wishing* from) { heard(from); }));
}

void SingleInstance::heard(const Wishing* from) {
    const auto found =
        std::ranges::find_if(wishing_, [from](const auto& each) { return each.get() == from; });
    // Ended later, since it is still at work.
    std::shared_ptr<Wishing> ended = std::move(*found);
    wishing_.erase(found);
    QTimer::singleShot(0, notifier_.get(), [ended] {});
    if (const auto wish = ended->wish(); wish && show_) {
        show_(*wish);
    }
}

} // namespace velmoran
