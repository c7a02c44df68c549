#include "app/mainwindow_helper.h"
#include "support/installation.h"
#include "support/nginxserver.h"
#include "support/repository.h"
#include "support/silentconsole.h"
#include "transfer/filedownloader.h"

#include <QDirIterator>
#include <QProgressBar>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTableWidget>
#include <QTreeWidget>
#include <QtEndian>
#include <QtTest>

#include <numeric>

class TestPipeline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_installation = std::make_unique<Installation>(); }
    void cleanup();

    void TakesOneComponentAllTheWay();
    void PicksUpWhatAnEarlierRunLeft_data();
    void PicksUpWhatAnEarlierRunLeft();
    void GoesOnAfterAnError();
    void RefusesAnotherSize();
    void ReportsATransferThatCannotStart();
    void TransfersTwoAtOnce();

private:
    /// Serves these archives alone, of a date, and connects. False if no catalogue comes.
    bool Serve(NginxServer &server, const QMap<QString, Files> &archives,
               const QString &date = "2024-05-01");
    /// Lets the pipeline work until a record has a status.
    bool Reaches(const DN_FILE_STRUCT *record, int status);
    /// Presses a button of the core page with the first row selected, as a person does.
    void Press(const char *button) const;

    QTemporaryDir m_site;
    NginxServer m_server{m_site.path()};
    NginxServer m_slow_server{m_site.path(), 1500000};
    std::unique_ptr<Installation> m_installation;
};

namespace {

const QString kCore = "core/version_latest";
const char kRunning[] = "Post installation script found. Running post installation script.";

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

/// All files below a folder with their content, but the extractor, the pages and logs.
Files Tree(const QString &dir)
{
    Files files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next().mid(dir.size() + 1);
        if (!path.contains(QRegularExpression("^bin_lnx/|^downloads/hwd_doc|_install\\.log$")))
            files.insert(path, ReadFile(it.filePath()));
    }
    return files;
}

} // namespace

void TestPipeline::initTestCase()
{
    SilentConsole::Start();
    QVERIFY2(m_server.Start(), qPrintable(m_server.Errors()));
    QVERIFY2(m_slow_server.Start(), qPrintable(m_slow_server.Errors()));
}

void TestPipeline::cleanup()
{
    m_installation.reset();
    QCOMPARE(SilentConsole::Take().join('\n'), QString());
}

bool TestPipeline::Serve(NginxServer &server, const QMap<QString, Files> &archives,
                         const QString &date)
{
    Repository repository(m_site.path());
    for (auto archive = archives.begin(); archive != archives.end(); ++archive)
        repository.Add(kCore, archive.key(), archive.value(), date);
    if (!repository.Publish())
        return false;
    m_installation->Connect(server.Url());
    const auto *pause = m_installation->Find<QPushButton>("pb_pause");
    return m_installation->Work([&] { return pause->isEnabled(); });
}

bool TestPipeline::Reaches(const DN_FILE_STRUCT *record, int status)
{
    return m_installation->Work([&] { return record->status == status; });
}

void TestPipeline::Press(const char *button) const
{
    auto *tree = m_installation->Find<QTreeWidget>("tree_wgt");
    tree->setCurrentItem(tree->topLevelItem(0));
    tree->setCurrentItem(tree->topLevelItem(3));
    const QWidget *page = m_installation->Find<QWidget>("DownloadWgt");
    page->findChild<QTableWidget *>("table")->selectRow(0);
    QTest::mouseClick(page->findChild<QPushButton *>(button), Qt::LeftButton);
}

void TestPipeline::TakesOneComponentAllTheWay()
{
    const QByteArray script = "#!/bin/sh\npwd >ran\nread answer || echo no >>ran\n";
    Files first = {{"core.tar/version.info", "build: 2024.05.01\r\n"},
                   {"core.tar/data/noise", Noise(300000)},
                   {"core.tar/zeft_install.sh", script}};
    Files second = {{"core.tar/version.info", "build: 2024.06.01\r\n"}, {"core.tar/data/new", "n"}};
    const QString dir = m_installation->Path("core.tar");
    const QString root = QFileInfo(dir).path();
    WriteFile(root + "/beside/x", "x");
    QVERIFY(Serve(m_server, {{"core.tar.xz", first}}));
    const DN_FILE_STRUCT *record = m_installation->Record("core.tar.xz");
    QCOMPARE(record->status, int(RecordStatus::NotInstalled));
    Press("pb_install");
    QVERIFY(Reaches(record, RecordStatus::Installed));
    QCOMPARE(m_installation->Log().mid(4),
             QStringList({"Downloading file core.tar.xz...",
                          "File core.tar.xz downloaded. Queued for installation.",
                          "Deleting directory " + dir + "...", "Deleted directory " + dir + ".",
                          "Installing file core.tar.xz...",
                          QString("File core.tar.xz installed. ") + kRunning,
                          "Installing file core.tar.xz...",
                          "File core.tar.xz post-installation completed."}));
    first.insert("core.tar/ran", dir.toUtf8() + "\nno\n");
    first.insert("beside/x", "x");
    QCOMPARE(Tree(root), first);

    m_installation->Restart();
    QVERIFY(Serve(m_server, {{"core.tar.xz", second}}, "2024-06-01"));
    record = m_installation->Record("core.tar.xz");
    QCOMPARE(record->status, int(RecordStatus::UpdateAvailable));
    Press("pb_install");
    QVERIFY(Reaches(record, RecordStatus::Installed));
    QCOMPARE(m_installation->Log().last(), QString("File core.tar.xz installed."));
    second.insert("beside/x", "x");
    QCOMPARE(Tree(root), second);

    Press("pb_delete");
    QCOMPARE(record->status, int(RecordStatus::Deleting));
    QVERIFY(Reaches(record, RecordStatus::NotInstalled));
    QCOMPARE(Tree(root), Files({{"beside/x", "x"}}));
    QCOMPARE(m_installation->Log().last(), "Deleted directory " + dir + ".");
}

void TestPipeline::PicksUpWhatAnEarlierRunLeft_data()
{
    QTest::addColumn<QByteArray>("stamp");   // of the partial file; empty: the file itself
    QTest::addColumn<int>("kept");           // bytes of the archive that it holds
    QTest::addColumn<QByteArray>("request"); // the one that gets the rest; empty for none
    QTest::addColumn<bool>("installs");
    const QByteArray stamp = "2024-05-01T12:00:00.000Z";
    const QByteArray old = "2023-05-01T12:00:00.000Z";
    const QByteArray none;
    QTest::newRow("a part") << stamp << 200000 << QByteArray(" 206 range=\"bytes=200000-\"")
                            << true;
    QTest::newRow("all, unfinished") << stamp << 1000000 << QByteArray(" 416 ") << true;
    QTest::newRow("a part of another version") << old << 200000 << none << false;
    QTest::newRow("the complete file") << none << 1000000 << none << true;
    QTest::newRow("less than the file") << none << 200000 << none << false;
}

void TestPipeline::PicksUpWhatAnEarlierRunLeft()
{
    QFETCH(const int, kept);
    QFETCH(const QByteArray, stamp);
    QFETCH(const QByteArray, request);
    QFETCH(const bool, installs);
    const Files files = {{"core/version.info", "build:2024.05.01"}, {"core/noise", Noise(400000)}};
    Repository repository(m_site.path());
    repository.Add(kCore, "core.zip", files);
    const QByteArray bytes = ReadFile(repository.ArchivePath(kCore, "core.zip")).left(kept);
    const QString file = m_installation->Download("core.zip");
    WriteFile(stamp.isEmpty() ? file : file + ".dnl",
              stamp.isEmpty() ? bytes : PartialFile(bytes, stamp));
    const int seen = m_server.AccessLog().size();
    QVERIFY(repository.Publish());
    m_installation->Connect(m_server.Url());
    QVERIFY(m_installation->Work([&] { return m_installation->Record("core.zip") != nullptr; }));
    QVERIFY(Reaches(m_installation->Record("core.zip"),
                    installs ? RecordStatus::Installed : RecordStatus::NotInstalled));
    const QString gets = m_server.AccessLog().mid(seen).filter("GET /zeft/core").join('\n');
    QVERIFY2(request.isEmpty() ? gets.isEmpty() : gets.count('\n') == 0 && gets.contains(request),
             qPrintable(gets));
    QCOMPARE(Tree(m_installation->Path("core")).value("noise"),
             installs ? files["core/noise"] : QByteArray());
    QVERIFY(!QFile::exists(file) && !QFile::exists(file + ".dnl"));
}

void TestPipeline::GoesOnAfterAnError()
{
    QVERIFY(Serve(m_slow_server, {{"core.zip", {{"core/noise", Noise(3000000)}}}}));
    DN_FILE_STRUCT *record = m_installation->Record("core.zip");
    m_installation->Window()->AddToDownload(record);
    QVERIFY(m_installation->Work([&] { return record->progress > 40; }));
    QCOMPARE(m_installation->Find<QProgressBar>("pbar_dl")->value(), record->progress);
    m_slow_server.Stop();
    QVERIFY(Reaches(record, RecordStatus::Error));
    QVERIFY(!record->downloader && m_installation->Window()->download_queue.isEmpty());
    const QString error = m_installation->Log().last();
    QVERIFY2(error.startsWith("Error while downloading file 'core.zip'. ")
                 && error.endsWith(". Try downloading again."),
             qPrintable(error));
    const qint64 held = QFileInfo(m_installation->Download("core.zip.dnl")).size() - 40;
    QVERIFY(held > 1000000);

    QVERIFY(m_slow_server.Start());
    m_installation->Window()->AddToDownload(record);
    QVERIFY(Reaches(record, RecordStatus::Installed));
    const QString request = m_slow_server.AccessLog().last();
    QVERIFY2(request.contains(QString(" 206 range=\"bytes=%1-\"").arg(held)), qPrintable(request));
    QCOMPARE(ReadFile(m_installation->Path("core/noise")), Noise(3000000));
}

void TestPipeline::RefusesAnotherSize()
{
    const QString old = m_installation->Path("core/old");
    WriteFile(old, "old");
    QVERIFY(Serve(m_server, {{"core.zip", {{"core/x", "x"}}}}));
    DN_FILE_STRUCT *record = m_installation->Record("core.zip");
    ++record->file_size;
    m_installation->Window()->AddToDownload(record);
    QVERIFY(Reaches(record, RecordStatus::Error));
    QCOMPARE(m_installation->Log().last(),
             QString("Downloaded file core.zip checksum failed. Trying downloading again."));
    QVERIFY(QFile::exists(m_installation->Download("core.zip")) && QFile::exists(old));
    --record->file_size;
    m_installation->Window()->AddToDownload(record);
    QVERIFY(Reaches(record, RecordStatus::Installed));
    QVERIFY(!QFile::exists(old));
}

void TestPipeline::ReportsATransferThatCannotStart()
{
    QVERIFY(Serve(m_server, {{"a.zip", {{"a/x", "x"}}}, {"b.zip", {{"b/x", "x"}}}}));
    const QList<DN_FILE_STRUCT *> &records = m_installation->Window()->records;
    WriteFile(m_installation->Download("a.zip.dnl/x"), "x");
    for (DN_FILE_STRUCT *record : records)
        m_installation->Window()->AddToDownload(record);
    QVERIFY(Reaches(records[1], RecordStatus::Installed));
    QCOMPARE(records[0]->status, int(RecordStatus::Error));
    QVERIFY(!records[0]->downloader);
    QVERIFY(m_installation->Log().contains(
        "Error while downloading file 'a.zip'. Is a directory. Try downloading again."));
}

void TestPipeline::TransfersTwoAtOnce()
{
    QVERIFY(Serve(m_slow_server, {{"1.zip", {{"1/noise", Noise(4000000)}}},
                                  {"2.zip", {{"2/noise", Noise(1000000)}}},
                                  {"3.zip", {{"3/noise", Noise(1000000)}}}}));
    MainWindow *window = m_installation->Window();
    const QList<DN_FILE_STRUCT *> &records = window->records;
    for (DN_FILE_STRUCT *record : records)
        window->AddToDownload(record);
    QVERIFY(m_installation->Work([&] { return records[1]->progress > 10; }));
    QVERIFY(records[0]->downloader && records[1]->downloader && !records[2]->downloader);
    QCOMPARE(records[2]->status, int(RecordStatus::DownloadPending));

    auto *pause = m_installation->Find<QPushButton>("pb_pause");
    pause->click();
    QCOMPARE(pause->text(), QString(" Resume Downloads "));
    const QList<int> progress = {records[0]->progress, records[1]->progress};
    QTest::qWait(600);
    QCOMPARE(QList<int>({records[0]->progress, records[1]->progress}), progress);
    QCOMPARE(records[0]->status, int(RecordStatus::Downloading));
    pause->click();
    for (int i = 0; i < 100; ++i) { // ends with the downloads resumed
        pause->click();
        QTest::qWait(QRandomGenerator::global()->bounded(10));
        QVERIFY(!records[2]->downloader || records[1]->status > RecordStatus::Downloading);
    }
    // The place that falls free goes to the third one, beside the first.
    QVERIFY(m_installation->Work([&] { return records[2]->downloader != nullptr; }));
    QVERIFY(records[0]->downloader && records[1]->status >= RecordStatus::InstallPending);
    for (const DN_FILE_STRUCT *record : records)
        QVERIFY(Reaches(record, RecordStatus::Installed));
    QCOMPARE(ReadFile(m_installation->Path("1/noise")), Noise(4000000));
    window->Timer500();
    for (const char *bar : {"pbar_dl", "pbar_inst"})
        QCOMPARE(m_installation->Find<QProgressBar>(bar)->value(), 0);
    QCOMPARE(m_installation->Find<QTableWidget>("table_activity")->rowCount(), 0);
}

QTEST_MAIN(TestPipeline)
#include "test_pipeline.moc"
