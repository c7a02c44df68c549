#include "support/installation.h"

#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"

#include <QApplication>
#include <QDir>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

namespace {
const int kWorkLimitMs = 30000;
QList<DataSingleton *> s_former_runs; // reachable, so no leak
} // namespace

Installation::Installation()
{
    QDir(m_root.path()).mkdir("bin_lnx");
    QFile::link(ZEFT_EXTRACTOR, Path("bin_lnx/zeft_fextr_cmd"));
    Restart();
}

Installation::~Installation()
{
    m_window->hide();
}

void Installation::Restart()
{
    if (m_window)
        m_window->hide();
    s_former_runs.append(DataSingleton::m_pInstance);
    DataSingleton::m_pInstance = nullptr;
    m_window = new MainWindow(nullptr);
    DataSingleton::Initialize(m_window, m_root.path());
    m_window->Initialize();
    m_window->show();
}

void Installation::Connect(const QString &url)
{
    m_window->findChild<QTableWidget *>("table_repo")->item(0, 0)->setText(url);
    QTest::mouseClick(m_window->findChild<QPushButton *>("pb_connect"), Qt::LeftButton);
}

bool Installation::Work(const std::function<bool()> &done)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.hasExpired(kWorkLimitMs))
            return false;
        m_window->Timer500();
        QTest::qWait(2);
    }
    return true;
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
    QStringList lines = m_window->findChild<QPlainTextEdit *>("msgs")->toPlainText().split('\n');
    return lines.replaceInStrings(QRegularExpression("^> \\d\\d:\\d\\d:\\d\\d:\\d\\d\\d: "), "");
}

BoxAnswers::BoxAnswers(const QList<QMessageBox::StandardButton> &answers)
    : m_answers(answers)
{
    QObject::connect(&m_watch, &QTimer::timeout, [this] { Answer(); });
    m_watch.start(1);
}

void BoxAnswers::Answer()
{
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box || !box->isVisible())
        return;
    questions.append(box->windowTitle() + ": " + box->text());
    box->button(m_answers.isEmpty() ? QMessageBox::Cancel : m_answers.takeFirst())->click();
}

bool WriteFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
