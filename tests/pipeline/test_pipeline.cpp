#include "pipeline/extractor.h"
#include "support/installation.h"
#include "support/nginx_server.h"
#include "support/repository.h"
#include "support/test.h"
#include "transfer/filedownloader.h"

class TestPipeline : public QuietTest
{
    Q_OBJECT

private slots:
    void init() { m_installation = std::make_unique<Installation>(); }
    void cleanup() { m_installation.reset(); }
    void TakesOneComponentAllTheWay();
    void PicksUpWhatAnEarlierRunLeft();
    void InstallsNothingThatCameWithTheDescriptions();
    void KeepsFilesThatOthersWaitFor();
    void ReportsWhatFails();
    void StopsATransferWithoutAnEnd();
    void TransfersTwoAtOnce();
    void TellsTheExtractorHowToUnpack();
    void FollowsARun();

private:
    /// Serves these archives alone, of a date, and connects. False if no catalogue comes.
    bool Serve(NginxServer &server, const QMap<QString, Files> &archives,
               const QString &date = "2024-05-01");

    QTemporaryDir m_site;
    NginxServer m_server{m_site.path()};
    NginxServer m_slowServer{m_site.path(), 1500000};
    std::unique_ptr<Installation> m_installation;
};

namespace {

const QString kCore = "core/version_latest";
const char kRunning[] = "Post installation script found. Running post installation script.";

/// All files below a folder with their content, but the extractor, the descriptions and logs.
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

bool TestPipeline::Serve(NginxServer &server, const QMap<QString, Files> &archives,
                         const QString &date)
{
    Repository repository(m_site.path());
    for (auto archive = archives.begin(); archive != archives.end(); ++archive)
        repository.Add(kCore, archive.key(), archive.value(), date);
    return repository.Publish() && m_installation->Connects(server.Url());
}

void TestPipeline::TakesOneComponentAllTheWay()
{
    const QByteArray script = "#!/bin/sh\necho ' 42%'\nuntil [ -e ../go ]; do sleep 0.02; done\n"
                              "pwd >ran\nread answer || echo no >>ran\n";
    Files first = {{"core.tar/version.info", "build: 2024.05.01\r\n"},
                   {"core.tar/data/noise", RandomBytes(300000)},
                   {"core.tar/zeft_install.sh", script}};
    Files second = {{"core.tar/version.info", "build: 2024.06.01\r\n"}, {"core.tar/data/new", "n"}};
    const QString dir = m_installation->Path("core.tar");
    const QString root = QFileInfo(dir).path();
    WriteFile(root + "/beside/x", "x");
    QVERIFY(Serve(m_server, {{"core.tar.xz", first}}));
    DN_FILE_STRUCT *record = m_installation->Record("core.tar.xz");
    QCOMPARE(record->status, int(RecordStatus::NotInstalled));
    m_installation->Press("pb_install", record);
    QVERIFY(m_installation->Work([&] { return record->progress == 42; })); // of its script
    QVERIFY(WriteFile(root + "/go", "")
            && m_installation->Reaches(record, RecordStatus::Installed));
    QVERIFY(QFile::remove(root + "/go"));
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
    m_installation->Press("pb_install", record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::Installed));
    QCOMPARE(m_installation->Log().last(), QString("File core.tar.xz installed."));
    second.insert("beside/x", "x");
    QCOMPARE(Tree(root), second);

    m_installation->Press("pb_delete", record);
    QCOMPARE(record->status, int(RecordStatus::Deleting));
    QVERIFY(m_installation->Reaches(record, RecordStatus::NotInstalled));
    QCOMPARE(Tree(root), Files({{"beside/x", "x"}}));
    QCOMPARE(m_installation->Log().last(), "Deleted directory " + dir + ".");
}

void TestPipeline::PicksUpWhatAnEarlierRunLeft()
{
    const QByteArray noise = RandomBytes(400000);
    const std::tuple<QString, int, QString> rows[] = {
        // bytes that it got, request for the rest
        {"part", 200000, " 206 range=\"bytes=200000-\""},
        {"unfinished", 1000000, " 416 "},
        {QString("the wh%1le").arg(QChar(0xF6)), 1000000, ""},
    };
    Repository repository(m_site.path());
    for (const auto &[stem, kept, request] : rows) {
        repository.Add(kCore, stem + ".zip",
                       {{stem + "/version.info", "build:2024.05.01"}, {stem + "/noise", noise}});
        const QByteArray bytes = ReadFile(repository.ArchivePath(kCore, stem + ".zip")).left(kept);
        const QString file = m_installation->Download(stem + ".zip");
        if (request.isEmpty())
            WriteFile(file, bytes);
        else
            WriteFile(file + ".dnl", PartialFile(bytes, "2024-05-01T12:00:00.000Z"));
    }
    QVERIFY(repository.Publish() && m_installation->Connects(m_server.Url()));
    for (const auto &[stem, kept, request] : rows) {
        QVERIFY(m_installation->Reaches(m_installation->Record(stem + ".zip"),
                                        RecordStatus::Installed));
        const QStringList gets = m_server.AccessLog().filter("GET /zeft/" + kCore + "/" + stem);
        QCOMPARE(gets.size(), request.isEmpty() ? 0 : 1);
        QVERIFY2(gets.join("").contains(request), qPrintable(gets.join("")));
        QVERIFY(ReadFile(m_installation->Path(stem + "/noise")) == noise);
        const QDir downloads(m_installation->Path("downloads"));
        QCOMPARE(downloads.entryList({stem + "*"}), QStringList());
    }
}

void TestPipeline::InstallsNothingThatCameWithTheDescriptions()
{
    const Files files = {{"core/x", "x"}};
    Repository repository(m_site.path());
    repository.Add(kCore, "core.zip", files);
    const QByteArray archive = ReadFile(repository.ArchivePath(kCore, "core.zip"));
    repository.package_list =
        "<html>#</html>"; // the first connection comes as far as the descriptions
    QVERIFY(repository.Publish({{"x.htm", "x"}, {"../core.zip", archive}}));
    const QString planted = m_installation->Download("core.zip");
    QVERIFY(!m_installation->Connects(m_server.Url()));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_installation->Download("hwd_doc/x.htm")), 30000);
    QVERIFY(!QFile::exists(planted));     // our extractor unpacks nothing beside the descriptions,
    QVERIFY(WriteFile(planted, archive)); // and another one might
    QVERIFY(WriteFile(m_site.filePath("zeft/bsp/zeft_bsps.info"), ""));
    QVERIFY(m_installation->Connects(m_server.Url()));
    DN_FILE_STRUCT *record = m_installation->Record("core.zip");
    QCOMPARE(record->status, int(RecordStatus::NotInstalled));
    m_installation->Press("pb_install", record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::Installed));
    QVERIFY(m_server.AccessLog().last().startsWith("GET /zeft/core"));
}

/// Two lines of the list name one file, and the user has picked it in the downloads directory.
void TestPipeline::KeepsFilesThatOthersWaitFor()
{
    MainWindow *window = m_installation->Window();
    Repository repository(m_site.path());
    repository.Add(kCore, "core.zip", {{"core/noise", RandomBytes(2000000)}});
    const QByteArray archive = ReadFile(repository.ArchivePath(kCore, "core.zip"));
    repository.file_list += QByteArray(repository.file_list).replace(0, 27, "");
    const QString file = m_installation->Download("core.zip");
    QVERIFY(repository.Publish() && m_installation->Connects(m_slowServer.Url())
            && WriteFile(file, archive));
    DN_FILE_STRUCT *first = window->records[0];
    DN_FILE_STRUCT *second = window->records[1];
    const QString link = m_installation->Path("link.zip");
    QVERIFY(QFile::link(file, link));
    window->AddToLocalInstall(file);
    window->AddToLocalInstall(link);
    window->AddToDownload(first);
    window->AddToDownload(second);
    const qint64 size = std::exchange(second->file_size, 1);
    window->ProcessDownload();
    window->UpdateStatus(second, false); // to it, the file is a wrong one
    QVERIFY(!first->downloader && ReadFile(file) == archive);
    QVERIFY(m_installation->Work([&] { return first->downloader != nullptr; }));
    for (const DN_FILE_STRUCT *picked : window->local_records)
        QCOMPARE(picked->status, int(RecordStatus::Installed));
    QVERIFY(!second->downloader && !QFile::exists(file));
    QCOMPARE(first->downloader->m_timeout, 15000);
    second->file_size = size;

    window->CancelDownloadInstall(second); // its file is the one that the first one transfers
    QVERIFY(QFile::exists(file + ".dnl"));
    window->AddToDownload(second);
    QVERIFY(m_installation->Reaches(first, RecordStatus::Installed)
            && m_installation->Reaches(second, RecordStatus::Installed));
    QCOMPARE(m_slowServer.AccessLog().filter("GET /zeft/core").size(), 2);
    QVERIFY(ReadFile(m_installation->Path("core/noise")) == RandomBytes(2000000));
}

void TestPipeline::ReportsWhatFails()
{
    WriteFile(m_installation->Download("a.zip.dnl/x"), "x");
    WriteFile(m_installation->Path("b/old"), "old");
    QVERIFY(Serve(m_server, {{"a.zip", {{"a/x", "x"}}}, {"b.zip", {{"b/x", "x"}}}}));
    DN_FILE_STRUCT *stuck = m_installation->Record("a.zip");
    DN_FILE_STRUCT *record = m_installation->Record("b.zip");
    m_installation->Window()->AddToDownload(stuck);
    ++record->file_size;
    m_installation->Window()->AddToDownload(record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::Error));
    QVERIFY(stuck->status == RecordStatus::Error && !stuck->downloader);
    const QString start = "Error while downloading file 'a.zip'. Is a directory.";
    QVERIFY(m_installation->Log().contains(start + " Try downloading again."));
    QCOMPARE(m_installation->Log().last(),
             QString("Downloaded file b.zip checksum failed. Trying downloading again."));
    QVERIFY(QFile::exists(m_installation->Path("b/old")));

    // The next attempt takes away what the last one left, and so does an uninstallation.
    --record->file_size;
    m_installation->Window()->AddToDownload(record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::Installed));
    --record->file_size; // now the file is the longer one
    m_installation->Window()->AddToDownload(record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::Error));
    QVERIFY(QFile::exists(m_installation->Download("b.zip")));
    m_installation->Press("pb_delete", record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::NotInstalled));
    QVERIFY(!QFile::exists(m_installation->Download("b.zip")));
    QVERIFY(!QFile::exists(m_installation->Path("b")));
}

void TestPipeline::StopsATransferWithoutAnEnd()
{
    QVERIFY(Serve(m_server, {{"big.zip", {{"big/x", "x"}}}}));
    QVERIFY(QFile::resize(m_site.filePath("zeft/" + kCore + "/big.zip"), 500000000));
    DN_FILE_STRUCT *record = m_installation->Record("big.zip");
    m_installation->Press("pb_install", record);
    QVERIFY(m_installation->Reaches(record, RecordStatus::Error));
    QCOMPARE(m_installation->Log().last(),
             QString("Error while downloading file 'big.zip'. Server sends far more than the "
                     "file's size. Try downloading again."));
    QVERIFY(!QFile::exists(m_installation->Download("big.zip.dnl")));
}

void TestPipeline::TransfersTwoAtOnce()
{
    QVERIFY(Serve(m_slowServer, {{"1.zip", {{"1/noise", RandomBytes(4000000)}}},
                                 {"2.zip", {{"2/noise", RandomBytes(1000000)}}},
                                 {"3.zip", {{"3/noise", RandomBytes(1000000)}}}}));
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
    // The place that falls free goes to the third one, beside the first.
    QVERIFY(m_installation->Work([&] { return records[2]->downloader != nullptr; }));
    QVERIFY(records[0]->downloader && records[1]->status >= RecordStatus::InstallPending);
    for (const DN_FILE_STRUCT *record : records)
        QVERIFY(m_installation->Reaches(record, RecordStatus::Installed));
    QCOMPARE(ReadFile(m_installation->Path("1/noise")), RandomBytes(4000000));
    window->Timer500();
    for (const char *bar : {"pbar_dl", "pbar_inst"})
        QCOMPARE(m_installation->Find<QProgressBar>(bar)->value(), 0);
    QCOMPARE(m_installation->Find<QTableWidget>("table_activity")->rowCount(), 0);
}

void TestPipeline::TellsTheExtractorHowToUnpack()
{
    const std::pair<QString, QString> rows[] = {
        {"a.tar", "#uzip"}, {"a.TAR.gz", "#uzip"}, {"a.tar.hlib.zip", "#xtar"}};
    for (const auto &[name, command] : rows)
        QCOMPARE(UnpackArguments(name, "/d d", "/r"),
                 QStringList({command, "#/d d/" + name, "#/r"}));
}

void TestPipeline::FollowsARun()
{
    const int none = std::numeric_limits<int>::min();
    const std::tuple<QByteArray, int, int> rows[] = {
        // what it has printed, the least progress, and the progress
        {"  4%", 5, 5},
        {"999%", 5, 999},
        {" -3%", none, -3},
        {"abc%\n", none, 0},
        {"  1%\n  2%\n100%\n", none, 100},
        {" 42%\n 43", none, 42},
        {QByteArray(" 42%\0 77%", 9), none, 42}, // a NUL ends the output
    };
    for (const auto &[printed, floor, progress] : rows) {
        DN_FILE_STRUCT record;
        record.progress = 1;
        QProcess run;
        run.start("cat", QStringList());
        run.write(printed);
        QTRY_VERIFY(!FollowRun(&run, &record, floor) && record.progress != 1);
        QCOMPARE(record.progress, progress);
        run.closeWriteChannel();
        QTRY_VERIFY(FollowRun(&run, &record, floor));
    }
    int percent = 0;
    for (const char *output : {"working\n", "7%\n"})
        QVERIFY2(!LastPercent(output, percent), output);
}

ZEFT_TEST(TestPipeline)
#include "test_pipeline.moc"
