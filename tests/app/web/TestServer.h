// A web server of a test's own, on this machine. It hears each request to its end and lets the test
// answer. Lives on the thread of the test, whose event loop serves it.
#pragma once

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmoran::testing {

class TestServer {
public:
    using Answer = std::function<void(QTcpSocket& client, const QByteArray& path)>;

    explicit TestServer(Answer answer, QTcpServer* server = new QTcpServer)
        : server_(server),
          answer_(std::move(answer)) {
        server_->listen(QHostAddress::LocalHost);
        QObject::connect(server_.get(), &QTcpServer::pendingConnectionAvailable, server_.get(),
                         [this] { serve(server_->nextPendingConnection()); });
    }

    /// The head of a page, then the page.
    static QByteArray page(const QByteArray& body, const QByteArray& status = "200 OK") {
        return "HTTP/1.1 " + status + "\r\nContent-Type: application/json\r\nContent-Length: " +
               QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }

    std::string address(const std::string& scheme = "http") const {
        return scheme + "://localhost:" + std::to_string(server_->serverPort()) +
               "/velmoran/version.json";
    }

    const std::vector<QByteArray>& requests() const { return requests_; }
    int gone() const { return gone_; } ///< clients that have ended their connection

private:
    void serve(QTcpSocket* client) {
        QObject::connect(client, &QTcpSocket::readyRead, server_.get(),
                         [this, client, request = QByteArray()]() mutable {
                             request += client->readAll();
                             if (request.endsWith("\r\n\r\n")) {
                                 requests_.push_back(std::exchange(request, {}));
                                 answer_(*client, requests_.back().split(' ').value(1));
                             }
                         });
        QObject::connect(client, &QTcpSocket::disconnected, server_.get(), [this] { ++gone_; });
    }

    std::unique_ptr<QTcpServer> server_;
    Answer answer_;
    std::vector<QByteArray> requests_;
    int gone_ = 0;
};

} // namespace velmoran::testing
