#include <ZpIngest/HttpRequestHead.h>

#include <QList>

#include <algorithm>

namespace {

HttpRequestHead invalid(QString error, HttpRequestHead::State state = HttpRequestHead::State::Invalid)
{
    HttpRequestHead head;
    head.state = state;
    head.error = std::move(error);
    return head;
}

} // namespace

HttpRequestHead HttpRequestHead::parse(QByteArrayView bytes)
{
    static const QByteArrayView kEnd("\r\n\r\n");
    const qsizetype end = bytes.indexOf(kEnd);
    if (end < 0) {
        if (bytes.size() > kMaxHeadBytes)
            return invalid(QStringLiteral("request head is longer than %1 bytes").arg(kMaxHeadBytes), State::TooLarge);
        return HttpRequestHead();
    }
    if (end + kEnd.size() > kMaxHeadBytes)
        return invalid(QStringLiteral("request head is longer than %1 bytes").arg(kMaxHeadBytes), State::TooLarge);

    const QList<QByteArray> lines = bytes.first(end).toByteArray().split('\n');
    const QList<QByteArray> requestLine = lines.constFirst().trimmed().split(' ');
    if (requestLine.size() != 3 || requestLine.at(0).isEmpty() || !requestLine.at(1).startsWith('/')
        || !requestLine.at(2).startsWith("HTTP/1."))
        return invalid(QStringLiteral("malformed request line"));

    HttpRequestHead head;
    head.method = requestLine.at(0);
    head.target = requestLine.at(1);
    const qsizetype query = head.target.indexOf('?');
    head.path = query < 0 ? head.target : head.target.left(query);

    bool haveLength = false;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray& line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            return invalid(QStringLiteral("malformed header line"));
        const QByteArray name = line.left(colon).trimmed();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name.compare("Content-Length", Qt::CaseInsensitive) == 0) {
            bool ok = false;
            const qint64 length = value.toLongLong(&ok);
            // toLongLong() would also take "+5" or " 5"; a length is digits only.
            const bool digitsOnly = !value.isEmpty()
                && std::all_of(value.cbegin(), value.cend(), [](char c) { return c >= '0' && c <= '9'; });
            if (!ok || !digitsOnly || (haveLength && length != head.contentLength))
                return invalid(QStringLiteral("invalid Content-Length"));
            head.contentLength = length;
            haveLength = true;
        } else if (name.compare("Transfer-Encoding", Qt::CaseInsensitive) == 0) {
            head.chunked = true;
        }
    }
    head.headBytes = end + kEnd.size();
    head.state = State::Complete;
    return head;
}
