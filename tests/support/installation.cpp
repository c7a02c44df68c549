#include "support/installation.h"

#include "app/datasingleton.h"
#include "panels/downloadwgt.h"
#include "pipeline/extractor.h"
#include "transfer/filedownloader.h"

#include <QtTest>
#include <QtWidgets>

namespace {
const int kWorkLimitMs = 120000;
auto *const kFormerRuns = new QList<DataSingleton *>; // never freed, so that they are no leaks
} // namespace

Installation::Installation(bool beats)
    : m_beats(beats)
{
    m_root.setAutoRemove(false);
    QDir(m_root.path()).mkdir("bin_lnx");
    QFile::link(ZEFT_EXTRACTOR, Path("bin_lnx/zeft_fextr_cmd"));
    Restart();
}

Installation::~Installation()
{
    End();
}

void Installation::Restart()
{
    if (m_window)
        End();
    m_window = new MainWindow(nullptr);
    DataSingleton::Initialize(m_window, m_root.path());
    if (m_beats)
        m_window->Initialize();
    m_window->show();
}

void Installation::End()
{
    m_window->descriptions_process.Kill();
    delete m_window->base_downloader;
    m_window->base_downloader = nullptr;
    while (!m_window->download_queue.isEmpty())
        m_window->StopDownload(m_window->download_queue.first());
    for (QProcess **process :
         {&m_window->install_process, &m_window->post_install_process, &m_window->delete_process})
        KillExtractor(*process);
    for (auto *queue :
         {&m_window->install_queue, &m_window->post_install_queue, &m_window->delete_queue})
        queue->clear();           // its heart beats on, for nothing
    m_window->WorkUnder(nullptr); // what was borrowed ends with the test
    m_window->hide();
    kFormerRuns->append(DataSingleton::m_pInstance);
    DataSingleton::m_pInstance = nullptr;
}

void Installation::Connect(const QString &url)
{
    Find<QTableWidget>("table_repo")->item(0, 0)->setText(url);
    QTest::mouseClick(Find<QPushButton>("pb_connect"), Qt::LeftButton);
}

bool Installation::Connects(const QString &url)
{
    Connect(url);
    return IsConnected();
}

bool Installation::IsConnected()
{
    const auto *connect = Find<QPushButton>("pb_connect");
    return Work([&] { return connect->isHidden() || connect->isEnabled(); }) && connect->isHidden();
}

bool Installation::Work(const std::function<bool()> &done)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.hasExpired(kWorkLimitMs))
            return false;
        QTest::qWait(2);
        m_window->Timer500(); // last, so that a run that it starts is seen before it can end
    }
    return true;
}

void Installation::Press(const QString &button, DN_FILE_STRUCT *record) const
{
    auto *tree = Find<QTreeWidget>("tree_wgt");
    tree->setCurrentItem(m_window->tree_item_local); // so that the page comes up anew
    tree->setCurrentItem(m_window->tree_item_core);
    auto *page = Find<DownloadWgt>("DownloadWgt");
    page->findChild<QTableWidget *>()->selectRow(page->MatchingRow(record));
    QTest::mouseClick(page->findChild<QPushButton *>(button), Qt::LeftButton);
}

bool Installation::Reaches(const DN_FILE_STRUCT *record, int status)
{
    return Work([&] { return record->status == status; });
}

DN_FILE_STRUCT *Installation::Record(const QString &file_name) const
{
    for (DN_FILE_STRUCT *record : m_window->records + m_window->local_records) {
        if (record->file_name == file_name)
            return record;
    }
    return nullptr;
}

QStringList Installation::Log() const
{
    QStringList lines = Find<QPlainTextEdit>("msgs")->toPlainText().split('\n');
    return lines.replaceInStrings(QRegularExpression("^> \\d\\d:\\d\\d:\\d\\d:\\d\\d\\d: "), "");
}

BoxAnswers::BoxAnswers(QList<QMessageBox::StandardButton> answers)
{
    QObject::connect(&watch, &QTimer::timeout, [this, answers]() mutable {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        const bool warns = box->icon() == QMessageBox::Warning;
        const QString kind = box->textFormat() == Qt::PlainText ? ": " : " in mark-up: ";
        questions.append(box->windowTitle() + (warns ? kind : " without a sign: ") + box->text());
        parent = box->parentWidget();
        box->button(answers.isEmpty() ? QMessageBox::Cancel : answers.takeFirst())->click();
    });
    watch.start(1);
}
