// zpqt_http_child <url>: posts once with ZpHttp and prints the result code, then,
// after a success, a space and the answer's body. The TLS tests run it with and
// without ZP_HTTP_EXTRA_CA_FILE in its environment.
// zpqt_http_child --leave-while-posting <url>: starts a post with a ten-minute
// time-out on a pool thread, then leaves main() while it waits; prints the
// post's error once it has given up.
#include <ZpQtCoreLite/ZpHttp.h>

#include <QCoreApplication>
#include <QTextStream>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>
#include <cstdio>

namespace {

int leaveWhilePosting(const QUrl& url)
{
    QFuture<void> posting = QtConcurrent::run([url] {
        ZpHttp http;
        http.setUrl(url);
        http.setTimeout(600000);
        http.post("held");
        std::printf("%s\n", qPrintable(http.errorString()));
    });
    QThread::msleep(300); // the request is under way
    return 0;             // ~QCoreApplication now waits for the pool
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().size() == 3 && app.arguments().at(1) == QLatin1String("--leave-while-posting"))
        return leaveWhilePosting(QUrl(app.arguments().at(2)));
    if (app.arguments().size() != 2)
        return 2;
    ZpHttp http;
    http.setUrl(QUrl(app.arguments().at(1)));
    const bool ok = http.post("from the child");
    QTextStream out(stdout);
    out << http.httpResultCode();
    if (ok)
        out << ' ' << http.responseBody();
    out << '\n';
    return 0;
}
