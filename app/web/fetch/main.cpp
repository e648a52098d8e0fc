// velmoran-fetch: reads one small file from a web server and writes it to the standard output. Its
// status is 0 only if all of the file was had by a plain GET. Started by UpdateCheck for one
// question and ended with it; the one part of Velmoran that speaks to another computer.
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr qint64 mostBytes = 64LL * 1024;
constexpr std::chrono::seconds patience(15); ///< if whoever started this has gone
constexpr int mostRedirects = 10;
constexpr int statusOK = 200;
constexpr int wrongArguments = 2;

/// At once: a look-up of a name that hangs would be waited for.
[[noreturn]] void end(int status) {
    std::fflush(stdout);
    std::_Exit(status);
}

QNetworkRequest plainRequest(const QUrl& url) {
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(mostRedirects);
    // The server learns no more of this machine than it must, and packs nothing, so that what comes
    // is as long as it says.
    request.setRawHeader("User-Agent", "Velmoran");
    request.setRawHeader("Accept-Language", "*");
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    const QUrl url(arguments.value(1), QUrl::StrictMode);
    // Other schemes, such as files, are no business of this program.
    if (arguments.size() < 2 || (url.scheme() != "https" && url.scheme() != "http")) {
        return wrongArguments;
    }
    auto request = plainRequest(url);
    if (arguments.size() > 2) {
        // A certificate that is trusted besides those of the system, for a server of a test.
        auto security = request.sslConfiguration();
        security.addCaCertificates(arguments[2]);
        request.setSslConfiguration(security);
    }
    QNetworkAccessManager manager;
    auto* reply = manager.get(request);
    // What isn't read stays with the server.
    reply->setReadBufferSize(mostBytes + 1);
    QByteArray file;
    const auto read = [&] {
        file += reply->read(mostBytes + 1 - file.size());
        if (file.size() > mostBytes) {
            end(EXIT_FAILURE);
        }
    };
    QObject::connect(reply, &QNetworkReply::readyRead, reply, read);
    QObject::connect(reply, &QNetworkReply::finished, reply, [&] {
        read();
        const auto status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->error() != QNetworkReply::NoError || status != statusOK) {
            end(EXIT_FAILURE);
        }
        const auto size = static_cast<std::size_t>(file.size());
        end(std::fwrite(file.constData(), 1, size, stdout) == size ? EXIT_SUCCESS : EXIT_FAILURE);
    });
    QTimer::singleShot(patience, [] { end(EXIT_FAILURE); });
    return QCoreApplication::exec();
}
