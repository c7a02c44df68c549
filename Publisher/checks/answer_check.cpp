#include "checks/answer_check.h"

#include "Repository/http_status.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>

namespace {

/// The text of a header, empty if there is none.
QString HeaderOf(const HttpAnswer &answer, const char *name)
{
    return QString::fromLatin1(answer.headers.value(name));
}

/// The date in a Last-Modified header, invalid if it isn't in the form IMF-fixdate.
QDateTime DateOfHeader(const QString &text)
{
    const QString day_format = "ddd, dd MMM yyyy";
    const QDate day = QLocale::c().toDate(text.left(day_format.size()), day_format);
    const QTime time = QTime::fromString(text.section(' ', 4, 4), "hh:mm:ss");
    const QDateTime date(day, time, Qt::UTC);
    const QString same = QLocale::c().toString(date, day_format + " hh:mm:ss 'GMT'");
    return date.isValid() && same == text ? date : QDateTime();
}

QByteArray BytesFrom(const QString &path, qint64 offset)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.seek(offset) ? file.readAll() : QByteArray();
}

/// What the server answers in place of what it should.
QString Described(const HttpAnswer &answer)
{
    if (!answer.failure.isEmpty())
        return answer.failure;
    const QString range = HeaderOf(answer, "content-range");
    return QString("it answers %1 with %2")
        .arg(answer.status)
        .arg(range.isEmpty() ? "no Content-Range" : QString("the Content-Range \"%1\"").arg(range));
}

} // namespace

bool CheckAnswer(const QString &subject, const HttpAnswer &answer, Findings &findings)
{
    const QString encoding = HeaderOf(answer, "content-encoding");
    bool has_length = false;
    HeaderOf(answer, "content-length").toLongLong(&has_length);
    if (!answer.failure.isEmpty()) {
        findings.Add(Rule::NoAnswer, subject, answer.failure);
    } else if (answer.status >= kMultipleChoices && answer.status < kBadRequest) {
        findings.Add(Rule::Redirected, subject,
                     QString("the server answers %1, \"%2\"")
                         .arg(answer.status)
                         .arg(HeaderOf(answer, "location")));
    } else if (answer.status != kOk) {
        findings.Add(Rule::NoAnswer, subject, QString("the server answers %1").arg(answer.status));
    } else if (!encoding.isEmpty()) {
        findings.Add(Rule::Compressed, subject,
                     QString("its Content-Encoding is %1").arg(encoding));
    } else if (!has_length) {
        findings.Add(Rule::NoLength, subject, "the answer has no Content-Length");
    } else {
        return true;
    }
    return false;
}

QDateTime CheckLastModified(const QString &subject, const HttpAnswer &answer, Findings &findings)
{
    const QString text = HeaderOf(answer, "last-modified");
    QDateTime date = DateOfHeader(text);
    if (!date.isValid()) {
        findings.Add(Rule::BadLastModified, subject,
                     QString("its Last-Modified is \"%1\", and not of the form Wed, 01 May 2024 "
                             "12:00:00 GMT")
                         .arg(text));
    }
    return date;
}

void CheckRange(const QString &subject, const HttpAnswer &answer, qint64 offset,
                const QString &part, const QString &whole, Findings &findings)
{
    const QString question = QString("asked for the bytes from %1 on, ").arg(offset);
    const QString range = QString("bytes %1-").arg(offset);
    if (!answer.failure.isEmpty() || !HeaderOf(answer, "content-range").startsWith(range))
        findings.Add(Rule::BadRange, subject, question + Described(answer));
    else if (BytesFrom(part, 0) != BytesFrom(whole, offset))
        findings.Add(Rule::BadRange, subject, question + "it sends others");
}

void CheckEndOfRange(const QString &subject, const HttpAnswer &answer, qint64 size,
                     Findings &findings)
{
    const QString range = QString("bytes */%1").arg(size);
    if (answer.status != kRangeNotSatisfiable || HeaderOf(answer, "content-range") != range) {
        findings.Add(Rule::BadEndOfRange, subject,
                     QString("asked for what follows its end, %1; right is 416 with \"%2\"")
                         .arg(Described(answer), range));
    }
}
