#include "app/mainwindow_helper.h"
#include "support/installation.h"
#include "support/nginxserver.h"
#include "support/repository.h"
#include "support/silentconsole.h"
#include "transfer/filedownloader.h"

#include <QDirIterator>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTreeWidget>
#include <QtEndian>
#include <QtTest>

#include <algorithm>
#include <numeric>

class TestPipeline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { QCOMPARE(SilentConsole::Take().join('\n'), QString()); }

    void TakesOneComponentAllTheWay();
    void RunsTheScript();
    void PicksUpWhatAnEarlierRunLeft_data();
    void PicksUpWhatAnEarlierRunLeft();
    void GoesOnAfterAnError();
    void RefusesAnotherSize();
    void ReportsATransferThatCannotStart();
    void TransfersTwoAtOnce();

private:
    QTemporaryDir m_site;
    NginxServer m_server{m_site.path()};
    NginxServer m_slow_server{m_site.path(), 1500000};
};

namespace {

const QString kCore = "core/version_latest";

QByteArray Noise(int size)
{
    QByteArray noise(size, '\0');
    quint32 state = 1;
    for (char &byte : noise) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return noise;
}

/// What a killed run leaves: data, its sum, its length, and the stamp of 24 characters.
QByteArray PartialFile(const QByteArray &data, const QByteArray &stamp)
{
    char tail[16];
    qToLittleEndian<qint64>(std::accumulate(data.begin(), data.end(), qint64(0),
                                            [](qint64 sum, char c) { return sum + uchar(c); }),
                            tail);
    qToLittleEndian<qint64>(data.size(), tail + 8);
    return data + QByteArray(tail, 16) + stamp;
}

/// All files below a folder with their content.
Files Tree(const QString &dir)
{
    Files files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(path.mid(dir.size() + 1), ReadFile(path));
    }
    return files;
}

/// Connects and waits for the catalogue. False if there is none.
bool Connect(Installation &installation, const QString &url)
{
    installation.Connect(url);
    return installation.Work(
        [&] { return installation.Find<QPushButton>("pb_pause")->isEnabled(); });
}

/// Presses a button of the core page with the first row selected, as a person does.
void Press(const Installation &installation, const char *button)
{
    auto *tree = installation.Find<QTreeWidget>("tree_wgt");
    tree->setCurrentItem(tree->topLevelItem(0));
    tree->setCurrentItem(tree->topLevelItem(3));
    const QWidget *page = installation.Find<QWidget>("DownloadWgt");
    page->findChild<QTableWidget *>("table")->selectRow(0);
    QTest::mouseClick(page->findChild<QPushButton *>(button), Qt::LeftButton);
}

} // namespace

void TestPipeline::initTestCase()
{
    SilentConsole::Start();
    QVERIFY2(m_server.Start(), qPrintable(m_server.Errors()));
    QVERIFY2(m_slow_server.Start(), qPrintable(m_slow_server.Errors()));
}

void TestPipeline::TakesOneComponentAllTheWay()
{
    const Files first = {{"core.tar/version.info", "build: 2024.05.01\r\n"},
                         {"core.tar/data/noise", Noise(300000)},
                         {"core.tar/run.sh", "#!/bin/sh\n"}};
    const Files second = {{"core.tar/version.info", "build: 2024.06.01\r\n"},
                          {"core.tar/data/new", "new"}};
    Installation installation;
    WriteFile(installation.Path("beside/x"), "x");
    Repository old_one(m_site.filePath("old"));
    old_one.Add(kCore, "core.tar.xz", first);
    QVERIFY(old_one.Publish());
    QVERIFY(Connect(installation, m_server.Url() + "/old"));
    DN_FILE_STRUCT *record = installation.Record("core.tar.xz");
    QCOMPARE(record->status, int(RecordStatus::NotInstalled));
    Press(installation, "pb_install");
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Installed; }));
    const QString dir = installation.Path("core.tar");
    QCOMPARE(installation.Log().mid(4),
             QStringList({"Downloading file core.tar.xz...",
                          "File core.tar.xz downloaded. Queued for installation.",
                          "Deleting directory " + dir + "...", "Deleted directory " + dir + ".",
                          "Installing file core.tar.xz...", "File core.tar.xz installed."}));
    const auto installed = [&] {
        Files files = Tree(installation.Path(""));
        files.remove("bin_lnx/zeft_fextr_cmd");
        files.remove("beside/x");
        files.remove("downloads/hwd_doc.zip");
        files.remove("downloads/hwd_doc/x.htm");
        return files;
    };
    QCOMPARE(installed(), first);
    QVERIFY(QFileInfo(dir + "/run.sh").isExecutable());

    Repository new_one(m_site.filePath("new"));
    new_one.Add(kCore, "core.tar.xz", second, "2024-06-01");
    QVERIFY(new_one.Publish());
    installation.Restart();
    QVERIFY(Connect(installation, m_server.Url() + "/new"));
    record = installation.Record("core.tar.xz");
    QCOMPARE(record->status, int(RecordStatus::UpdateAvailable));
    Press(installation, "pb_install");
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Installed; }));
    QCOMPARE(installed(), second);

    Press(installation, "pb_delete");
    QCOMPARE(record->status, int(RecordStatus::Deleting));
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::NotInstalled; }));
    QCOMPARE(installed(), Files());
    QCOMPARE(installation.Log().last(), "Deleted directory " + dir + ".");
    QVERIFY(QFile::exists(installation.Path("beside/x")));
}

void TestPipeline::RunsTheScript()
{
    Repository repository(m_site.filePath("script"));
    repository.Add(
        kCore, "tool.zip",
        {{"tool/version.info", "build:2024.05.01"},
         {"tool/zeft_install.sh", "#!/bin/sh\npwd >ran\nread answer || echo no >>ran\n"}});
    QVERIFY(repository.Publish());
    Installation installation;
    QVERIFY(Connect(installation, m_server.Url() + "/script"));
    DN_FILE_STRUCT *record = installation.Record("tool.zip");
    installation.Window()->AddToDownload(record);
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Installed; }));
    QCOMPARE(
        installation.Log().mid(8),
        QStringList({"Installing file tool.zip...",
                     "File tool.zip installed. Post installation script found. Running post "
                     "installation script.",
                     "Installing file tool.zip...", "File tool.zip post-installation completed."}));
    QCOMPARE(ReadFile(installation.Path("tool/ran")),
             installation.Path("tool").toUtf8() + "\nno\n");
}

void TestPipeline::PicksUpWhatAnEarlierRunLeft_data()
{
    QTest::addColumn<QString>("left"); // the ending of the name in the downloads directory
    QTest::addColumn<int>("kept");     // bytes of the archive that it holds
    QTest::addColumn<QByteArray>("stamp");
    QTest::addColumn<QByteArray>("request"); // the one that gets the rest; empty for none
    QTest::addColumn<bool>("installs");
    const QByteArray stamp = "2024-05-01T12:00:00.000Z";
    QTest::newRow("a part") << ".dnl" << 200000 << stamp
                            << QByteArray(" 206 range=\"bytes=200000-\"") << true;
    QTest::newRow("all, unfinished") << ".dnl" << -1 << stamp << QByteArray(" 416 ") << true;
    QTest::newRow("a part of another version")
        << ".dnl" << 200000 << QByteArray("2023-05-01T12:00:00.000Z") << QByteArray() << false;
    QTest::newRow("the complete file") << "" << -1 << QByteArray() << QByteArray() << true;
    QTest::newRow("less than the file") << "" << 200000 << QByteArray() << QByteArray() << false;
}

void TestPipeline::PicksUpWhatAnEarlierRunLeft()
{
    QFETCH(const QString, left);
    QFETCH(const int, kept);
    QFETCH(const QByteArray, stamp);
    QFETCH(const QByteArray, request);
    QFETCH(const bool, installs);
    Repository repository(m_site.filePath("left"));
    const Files files = {{"core/version.info", "build:2024.05.01"}, {"core/noise", Noise(400000)}};
    repository.Add(kCore, "core.zip", files);
    QVERIFY(repository.Publish());
    const QByteArray bytes =
        ReadFile(repository.ArchivePath(kCore, "core.zip")).left(kept < 0 ? 1 << 20 : kept);
    Installation installation;
    WriteFile(installation.Download("core.zip" + left),
              stamp.isEmpty() ? bytes : PartialFile(bytes, stamp));
    const int seen = m_server.AccessLog().size();

    QVERIFY(Connect(installation, m_server.Url() + "/left"));
    const int expected = installs ? RecordStatus::Installed : RecordStatus::NotInstalled;
    QVERIFY(installation.Work([&] { return installation.Record("core.zip")->status == expected; }));
    const QString gets = m_server.AccessLog().mid(seen).filter("GET /left/zeft/core").join('\n');
    QVERIFY2(request.isEmpty() ? gets.isEmpty() : gets.count('\n') == 0 && gets.contains(request),
             qPrintable(gets));
    QCOMPARE(Tree(installation.Path("core")).size(), installs ? 2 : 0);
    if (installs)
        QCOMPARE(ReadFile(installation.Path("core/noise")), files["core/noise"]);
    QVERIFY(!QFile::exists(installation.Download("core.zip")));
    QVERIFY(!QFile::exists(installation.Download("core.zip.dnl")));
}

void TestPipeline::GoesOnAfterAnError()
{
    Repository repository(m_site.filePath("error"));
    repository.Add(kCore, "core.zip",
                   {{"core/version.info", "build:2024.05.01"}, {"core/noise", Noise(3000000)}});
    QVERIFY(repository.Publish());
    Installation installation;
    QVERIFY(Connect(installation, m_slow_server.Url() + "/error"));
    DN_FILE_STRUCT *record = installation.Record("core.zip");
    installation.Window()->AddToDownload(record);
    QVERIFY(installation.Work([&] { return record->progress > 40; }));
    QCOMPARE(installation.Find<QProgressBar>("pbar_dl")->value(), record->progress);
    m_slow_server.Stop();
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Error; }));
    QVERIFY(!record->downloader && installation.Window()->download_queue.isEmpty());
    QVERIFY2(QRegularExpression(
                 "^Error while downloading file 'core\\.zip'\\. .+\\. Try downloading again\\.$")
                 .match(installation.Log().last())
                 .hasMatch(),
             qPrintable(installation.Log().last()));
    const qint64 held = QFileInfo(installation.Download("core.zip.dnl")).size() - 40;
    QVERIFY(held > 1000000);

    QVERIFY(m_slow_server.Start());
    installation.Window()->AddToDownload(record);
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Installed; }));
    QVERIFY(
        m_slow_server.AccessLog().last().contains(QString(" 206 range=\"bytes=%1-\"").arg(held)));
    QCOMPARE(ReadFile(installation.Path("core/noise")), Noise(3000000));
}

void TestPipeline::RefusesAnotherSize()
{
    Repository repository(m_site.filePath("size"));
    repository.Add(kCore, "core.zip", {{"core/x", "x"}});
    QVERIFY(repository.Publish());
    Installation installation;
    WriteFile(installation.Path("core/old"), "old");
    QVERIFY(Connect(installation, m_server.Url() + "/size"));
    DN_FILE_STRUCT *record = installation.Record("core.zip");
    ++record->file_size;
    installation.Window()->AddToDownload(record);
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Error; }));
    QCOMPARE(installation.Log().last(),
             QString("Downloaded file core.zip checksum failed. Trying downloading again."));
    QVERIFY(QFile::exists(installation.Download("core.zip"))
            && QFile::exists(installation.Path("core/old")));
    --record->file_size;
    installation.Window()->AddToDownload(record);
    QVERIFY(installation.Work([&] { return record->status == RecordStatus::Installed; }));
    QVERIFY(!QFile::exists(installation.Path("core/old")));
}

void TestPipeline::ReportsATransferThatCannotStart()
{
    Repository repository(m_site.filePath("start"));
    for (const char *name : {"a", "b", "c"})
        repository.Add(kCore, QString(name) + ".zip", {{QString(name) + "/x", "x"}});
    QVERIFY(repository.Publish());
    Installation installation;
    QVERIFY(Connect(installation, m_server.Url() + "/start"));
    const QList<DN_FILE_STRUCT *> &records = installation.Window()->records;
    for (const char *name : {"a.zip.dnl/x", "b.zip.dnl/x"})
        WriteFile(installation.Download(name), "x");
    for (DN_FILE_STRUCT *record : records)
        installation.Window()->AddToDownload(record);
    QVERIFY(installation.Work([&] { return records[2]->status == RecordStatus::Installed; }));
    QCOMPARE(records[0]->status, int(RecordStatus::Error));
    QVERIFY(!records[0]->downloader);
    QCOMPARE(records[1]->status, int(RecordStatus::Error));
    QCOMPARE(
        installation.Log()[5],
        QString("Error while downloading file 'a.zip'. Is a directory. Try downloading again."));
}

void TestPipeline::TransfersTwoAtOnce()
{
    Repository repository(m_site.filePath("three"));
    for (const int megabytes : {4, 1, 1}) {
        const QString name = QString::number(repository.file_list.count('\n'));
        repository.Add(kCore, name + ".zip", {{name + "/noise", Noise(megabytes * 1000000)}});
    }
    QVERIFY(repository.Publish());
    Installation installation;
    QVERIFY(Connect(installation, m_slow_server.Url() + "/three"));
    MainWindow *window = installation.Window();
    const QList<DN_FILE_STRUCT *> &records = window->records;
    for (DN_FILE_STRUCT *record : records)
        window->AddToDownload(record);
    QVERIFY(installation.Work([&] { return records[1]->progress > 10; }));
    QVERIFY(records[0]->downloader && records[1]->downloader && !records[2]->downloader);
    QCOMPARE(records[2]->status, int(RecordStatus::DownloadPending));
    QCOMPARE(installation.Find<QTableWidget>("table_activity")->rowCount(), 3);

    auto *pause = installation.Find<QPushButton>("pb_pause");
    pause->click();
    const QList<int> progress = {records[0]->progress, records[1]->progress};
    QTest::qWait(600);
    QCOMPARE(QList<int>({records[0]->progress, records[1]->progress}), progress);
    QCOMPARE(records[0]->status, int(RecordStatus::Downloading));
    pause->click();
    // The place that falls free goes to the third one, beside the first.
    QVERIFY(installation.Work([&] { return records[2]->downloader != nullptr; }));
    QVERIFY(records[0]->downloader && records[1]->status >= RecordStatus::InstallPending);
    QVERIFY(installation.Work([&] {
        return std::all_of(records.begin(), records.end(), [](const DN_FILE_STRUCT *record) {
            return record->status == RecordStatus::Installed;
        });
    }));
    QCOMPARE(ReadFile(installation.Path("1/noise")), Noise(4000000));
    window->Timer500();
    QCOMPARE(installation.Find<QProgressBar>("pbar_dl")->value()
                 + installation.Find<QProgressBar>("pbar_inst")->value(),
             0);
    QCOMPARE(installation.Find<QTableWidget>("table_activity")->rowCount(), 0);
}

QTEST_MAIN(TestPipeline)
#include "test_pipeline.moc"
