#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"
#include "bench.h"
#include "clock.h"
#include "panels/downloadwgt.h"
#include "ui_mainwindow.h"

#include <QApplication>
#include <QKeyEvent>

#include <unistd.h>

#include <cstdio>

namespace {

const int kRest = 60; // s
const char *const kStages[] = {"lists", "probes", "tree", "after"};

/// Since the X server stamped the key, on its own clock of 32 bits.
double WaitOf(const QKeyEvent &key)
{
    const auto now = static_cast<quint64>(Milliseconds(CLOCK_MONOTONIC));
    return static_cast<qint32>(static_cast<quint32>(now) - static_cast<quint32>(key.timestamp()));
}

double MemoryKb()
{
    QFile file("/proc/self/statm");
    file.open(QFile::ReadOnly);
    return file.readAll().split(' ').value(1).toDouble() * static_cast<double>(getpagesize()) / 1e3;
}

class Watch : public QObject
{
public:
    explicit Watch(MainWindow &window)
        : m_window(window)
    {
        EnterStage(0);
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        if (m_stage + 1 < 4 && HasBegun(m_stage + 1, receiver, *event))
            EnterStage(m_stage + 1);
        if (event->type() == QEvent::KeyPress && receiver->isWindowType())
            TakeKey(static_cast<const QKeyEvent &>(*event));
        if (event->type() == QEvent::Hide && receiver == &m_window && m_closing > 0)
            std::printf("%.0f\n", Milliseconds(CLOCK_MONOTONIC) - m_closing);
        return false;
    }

private:
    bool HasBegun(int stage, const QObject *receiver, const QEvent &event) const
    {
        if (stage == 1)
            return !m_window.records.isEmpty();
        if (stage == 2) // by a queued call
            return !m_window.base_downloader && receiver == &m_window
                   && event.type() == QEvent::MetaCall;
        return m_window.ui->pb_pause->isEnabled();
    }

    void EnterStage(int stage)
    {
        m_stage = stage;
        m_begin[stage] = Milliseconds(CLOCK_MONOTONIC);
        m_memory[stage] = MemoryKb();
        std::puts(kStages[stage]);
        std::fflush(stdout);
    }

    void TakeKey(const QKeyEvent &key)
    {
        const double wait = WaitOf(key);
        const double pressed = Milliseconds(CLOCK_MONOTONIC) - wait;
        int stage = m_stage;
        while (stage > 0 && m_begin[stage] > pressed)
            --stage;
        m_longest[stage] = qMax(m_longest[stage], wait);
        const double worked = Milliseconds(CLOCK_PROCESS_CPUTIME_ID);
        m_worked[stage] = qMax(m_worked[stage], qMin(wait, worked - m_workedBefore));
        m_workedBefore = worked;
        if (key.key() == Qt::Key_F12) {
            m_closing = pressed;
            m_window.close();
        } else if (key.key() == Qt::Key_F8) {
            Rest();
        }
    }

    void Rest()
    {
        const double begin = Milliseconds(CLOCK_PROCESS_CPUTIME_ID);
        QTimer::singleShot(kRest * 1000, this, [this, begin] {
            Report((Milliseconds(CLOCK_PROCESS_CPUTIME_ID) - begin) / kRest / 10);
            qApp->quit();
        });
    }

    void Report(double rest)
    {
        int pages = 0;
        for (int n = 0; n < m_window.tree_item_bsps->childCount(); ++n)
            pages += m_window.tree_item_bsps->child(n)->childCount();
        std::printf("{");
        for (int stage = 0; stage < 4; ++stage)
            std::printf("\"%s\": [%.0f, %.0f], ", kStages[stage], m_longest[stage],
                        m_worked[stage]);
        std::printf("\"build\": %.0f, \"page\": %.1f, \"rest\": %.2f", m_begin[3] - m_begin[2],
                    (m_memory[3] - m_memory[2]) / pages, rest);
        const double begin = Milliseconds(CLOCK_PROCESS_CPUTIME_ID);
        m_window.SetTreeItemVisible(nullptr); // on no page, so that all are looked at
        std::printf(", \"search\": %.1f}\n", Milliseconds(CLOCK_PROCESS_CPUTIME_ID) - begin);
    }

    MainWindow &m_window;
    int m_stage = 0;
    double m_begin[4] = {}; // ms
    double m_memory[4] = {};
    double m_longest[4] = {};
    double m_worked[4] = {};
    double m_workedBefore = 0; // ms of the processor, up to the last key
    double m_closing = 0;      // when the key was pressed, in ms; 0: not yet
};

} // namespace

MainWindow &UpdaterWindow(const char *root)
{
    auto *window = new MainWindow(nullptr);
    DataSingleton::Initialize(window, root);
    window->Initialize();
    return *window;
}

int Window(int argc, char **argv)
{
    const QApplication application(argc, argv);
    MainWindow &window = UpdaterWindow(argv[1]);
    window.show();
    const Watch watch(window);
    window.onConnect(argv[2]);
    return QApplication::exec();
}
