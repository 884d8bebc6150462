// zpqt_http_child <url>: posts once with ZpHttp and prints the result code, then,
// after a success, a space and the answer's body. The TLS tests run it with and
// without ZP_HTTP_EXTRA_CA_FILE in its environment.
#include <ZpQtCoreLite/ZpHttp.h>

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
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
