#include "app/datasingleton.h"

#include "app/mainwindow.h"
#include "common/common_helper.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cerrno>
#include <ctime>

DataSingleton *DataSingleton::m_pInstance = nullptr;

DataSingleton::DataSingleton(MainWindow *window)
    : main_window(window)
    , elapsed_timer(new QElapsedTimer)
{
    elapsed_timer->start();
}

void DataSingleton::Initialize(MainWindow *window, const QString &path)
{
    if (m_pInstance)
        return;
    m_pInstance = new DataSingleton(window);
    m_pInstance->deploy_path = path;
    MakeDir(path + "/", "downloads"); // with the "/", an empty path is the root and not the cwd
    m_pInstance->installed_path = path;
}

DataSingleton *DataSingleton::Inst()
{
    return m_pInstance;
}

void DataSingleton::AddMsg(const QString &text, int level)
{
    main_window->AddMsg(text, level);
}

QString DataSingleton::GetDownloadsDir() const
{
    return installed_path + "/downloads";
}

QString DataSingleton::DeployPath() const
{
    return deploy_path;
}

QString DataSingleton::InstalledPath() const
{
    return installed_path;
}

MainWindow *DataSingleton::Window() const
{
    return main_window;
}

void DataSingleton::Sleep(int ms, bool process_events)
{
    if (ms < 1)
        return;
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < ms) {
        if (process_events)
            QCoreApplication::processEvents();
        const timespec step = {0, 1000000};
        while (nanosleep(&step, nullptr) != 0 && errno == EINTR) {
        }
    }
}

qint64 DataSingleton::GetElapsedTime() const
{
    return elapsed_timer->elapsed();
}
