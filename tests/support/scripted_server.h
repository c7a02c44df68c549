#pragma once

#include <QHash>
#include <QList>
#include <QTcpServer>

#include <functional>

class QTcpSocket;

/// A web server of one file for what a real one won't do, over plain HTTP on the loopback.
///
/// It answers GET, HEAD and Range as a good server does, unless the script has an answer for the
/// request. It lives in the thread of the test, whose event loop runs it.
class ScriptedServer : public QObject
{
    Q_OBJECT

public:
    enum Then {
        KeepOpen,
        Close // as soon as EndWhen() allows it
    };

    /// What is sent to one request, as it stands.
    struct Answer
    {
        QByteArray bytes;
        Then then = KeepOpen;
        int pace = 0; // bytes for each millisecond; 0: all at once
    };

    explicit ScriptedServer(const QByteArray &file);

    QString Url() const; // of the file
    void SetScript(const QList<Answer> &script) { m_script = script; }
    /// Lets connections end when the client has what it is to have: Qt drops what is still on its
    /// way through its own buffers.
    void EndWhen(const std::function<bool()> &may_end) { m_mayEnd = may_end; }
    /// What all requests so far had in their Range header, empty where there was none.
    QByteArrayList Ranges() const { return m_ranges; }

    static QByteArray Head(const QByteArray &status, const QByteArray &headers);

private:
    void Accept();
    void Read(QTcpSocket *socket);
    QByteArray GoodAnswer(const QByteArray &request, const QByteArray &range) const;
    void Send(QTcpSocket *socket, const Answer &answer);
    void End(QTcpSocket *socket, Then then);

    QByteArray m_file;
    QList<Answer> m_script;
    std::function<bool()> m_mayEnd = [] { return true; };
    QByteArrayList m_ranges;
    QHash<QTcpSocket *, QByteArray> m_requests; // what has come of the next one
    QTcpServer m_server;                        // last, as its sockets say good-bye when it dies
};
