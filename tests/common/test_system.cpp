#include "common/common_helper.h"
#include "support/installation.h"
#include "support/test.h"

#include <memory>

class TestSystem : public QObject
{
    Q_OBJECT

private slots:
    void AnswersAboutTheNetwork();
    void PreparesProcesses();
    void Confirms();
    void PicksAFolder();
};

/// A packet that has this transmit timestamp and rubbish everywhere else.
static QByteArray Packet(const QByteArray &hex_timestamp)
{
    return QByteArray(40, '\xee') + QByteArray::fromHex(hex_timestamp);
}

void TestSystem::AnswersAboutTheNetwork()
{
    Row("words for numbers", IsValidIP("a.b.c.d", false), true);
    Row("negative number", IsValidIP("-1.2.3.4", false), false);
    Row("IPv4 with a port that is not asked for", IsValidIP("1.2.3.4:80", false), false);
    Row("nine groups, two of them empty", IsValidIP("1:2:3:4:5:6:7::", false), false);
    Row("group of five hexadecimal digits", IsValidIP("abcde::1", false), true);
    Row("letter beyond f", IsValidIP("g::1", false), false);
    Row("IPv4 and its port", IsValidIP("1.2.3.4:80", true), true);
    Row("port 0", IsValidIP("1.2.3.4:0", true), false);
    Row("no port", IsValidIP("1.2.3.4", true), false);
    Row("IPv6 and its port", IsValidIP("[::1]:80", true), true);
    Row("port of an IPv6 without brackets", IsValidIP("::1:80", true), false);

    const unsigned int host = 0xFFFFFFFF;
    const auto local = [](const QString &address, unsigned int mask, bool expected) {
        Row(address + " is local", IsIpAddressLocal(address, mask), expected);
    };
    local("127.5.6.7", host, true);
    local("10.1.2.3", host, true);
    local("203.0.113.1", host, false);
    local("126.1.1.1", 0xFE000000, true); // compared with 127.0.0.1, which every machine has
    local("::1", host, true);
    local("2001:db8::1", 0, false);

    const QStringList all = GetLocalIPs(false, false, false);
    const QStringList ip6 = GetLocalIPs(true, false, false);
    QStringList others = all;
    others.removeAll("127.0.0.1");
    Row("no kind of address", GetLocalIPs(true, true, false), {});
    Row("all but localhost", GetLocalIPs(false, false, true), others);
    Row("IPv6 alone", ip6, all.filter(":"));
    Row("localhost is among all", all.contains("127.0.0.1"), true);

    // The first moment is of RFC 5905's table of historic dates.
    const auto moment = [](const char *row, const QByteArray &timestamp, const char *expected) {
        const QDateTime time = NtpTransmitTime(Packet(timestamp));
        Row(row, time.toUTC().toString(Qt::ISODateWithMs), expected);
    };
    moment("first day of era 1", "0000f68000000000", "2036-02-08T00:00:00.000Z");
    moment("half a second", "83aa7e8080000000", "1970-01-01T00:00:00.500Z");
    moment("highest fraction", "83aa7e80ffffffff", "1970-01-01T00:00:01.000Z");

    using Answers = QList<QByteArrayList>; // to each request
    const QByteArray request = QByteArray("\x1b", 1) + QByteArray(47, '\0');
    const auto ask = [&](const QStringList &servers, const Answers &answers) {
        QUdpSocket server;
        server.bind(QHostAddress("127.0.0.2"), 0);
        QByteArrayList received;
        connect(&server, &QUdpSocket::readyRead, &server, [&] {
            while (server.hasPendingDatagrams()) {
                const QNetworkDatagram datagram = server.receiveDatagram();
                for (const QByteArray &answer : answers.value(received.size()))
                    server.writeDatagram(datagram.makeReply(answer));
                received.append(datagram.data());
            }
        });
        QDateTime time = NtpTransmitTime(Packet("83aa7e8000000000"));
        bool answered = false;
        const std::unique_ptr<QThread> client(QThread::create([&, port = server.localPort()] {
            const auto address_of = [](const QString &name) { return QHostAddress(name); };
            answered = GetNtpTime(servers, port, address_of, time);
        }));
        client->start();
        while (!client->wait(5))
            QCoreApplication::processEvents();
        const int year = time.date().year();
        return QString("%1 %2 %3").arg(answered).arg(received.count(request)).arg(year);
    };
    const QByteArray whole = Packet("886ce58000000000"); // in 1972
    const QByteArray cut = whole.left(47);
    const QStringList ours("127.0.0.2");
    const QStringList three{"has no address", "127.0.0.3", "127.0.0.2"}; // nobody is at the second
    Row("second attempt", ask(ours, {{}, {whole}}), "1 2 1972");
    Row("third server", ask(three, {{whole}}), "1 1 1972");
    Row("behind short packets", ask(ours, {{"", cut, whole}}), "1 1 1972");
    Row("too short", ask(ours, {{cut}, {cut}}), "0 2 1970");
}

void TestSystem::PreparesProcesses()
{
    const QString folders = "/opt/x:/opt/x/lib:/opt/x/lib_dep_zeft:/opt/x/../lib:"
                            "/opt/x/../lib_dep_zeft:/opt/x/../../lib:/opt/x/../../lib_dep_zeft:";
    Row("paths and a folder", AddProcessEnvStdSearchPaths("/a;/b", "/opt/x"), ":/a:/b:" + folders);

    const auto extended = [](const auto &extend) {
        QProcessEnvironment env;
        env.insert("LD_LIBRARY_PATH", "/old");
        extend(&env);
        return env.toStringList();
    };
    const auto python = [&](const char *paths, bool in_front) {
        return extended([&](void *env) { AddProcessPythonEnvVar(env, paths, in_front); });
    };
    Row("added to what a variable held",
        extended([](void *env) { AddProcessEnvVar(env, "/a;/b", ""); }),
        {"LD_LIBRARY_PATH=:/a:/b:/old:", "PATH=:/a:/b::"});
    Row("Python, in front", python("/a;/b", true),
        {"LD_LIBRARY_PATH=:/a:/b:/old", "PATH=:/a:/b:", "PYTHONPATH=:/a:/b:"});
    Row("Python, behind", python("/a;/b", false),
        {"LD_LIBRARY_PATH=/old:/a:/b:", "PATH=:/a:/b:", "PYTHONPATH=:/a:/b:"});
    Row("Python, nothing to add", python("", true), {"LD_LIBRARY_PATH=/old"});

    const int own = QSysInfo::buildCpuArchitecture() == "x86_64" ? 6 : 7;
    const QList<int> supported = {own, 8, 10, 11, 12};
    for (int code = -6; code <= 13; ++code)
        Row(QString("platform %1").arg(code), IsPlatformSupported(code), supported.contains(code));
}

void TestSystem::Confirms()
{
    QWidget window;
    for (const bool yes_no : {true, false}) {
        const auto agree = yes_no ? QMessageBox::Yes : QMessageBox::Ok;
        const auto refuse = yes_no ? QMessageBox::No : QMessageBox::Cancel;
        for (const auto button : {agree, refuse}) {
            const BoxAnswers boxes({button});
            QCOMPARE(ConfirmUserAction(&window, "", yes_no), button == agree);
            QCOMPARE(boxes.questions, QStringList("ZEFT: Press OK to confirm your action."));
            QCOMPARE(boxes.parent, &window);
        }
    }
}

void TestSystem::PicksAFolder()
{
    const QTemporaryDir dir;
    QDir(dir.path()).mkdir("a");
    QFile::link(dir.filePath("a"), dir.filePath("link"));
    QTimer::singleShot(0, this, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QString("Where to"));
        QCOMPARE(dialog->directory().path(), dir.path());
        QVERIFY(dialog->testOption(QFileDialog::ShowDirsOnly));
        // A listing that comes later would overwrite the name.
        auto *model = dialog->findChild<QFileSystemModel *>();
        QTRY_VERIFY(model->rowCount(model->index(dir.path())) > 0);
        dialog->findChild<QLineEdit *>()->setText(dir.filePath("link"));
        dialog->accept();
    });
    QCOMPARE(GetDirectoryFromUser(nullptr, dir.path(), "Where to"),
             QFileInfo(dir.filePath("a")).canonicalFilePath());
}

ZEFT_TEST(TestSystem)
#include "test_system.moc"
