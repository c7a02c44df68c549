#include "app/datasingleton.h"
#include "app/installation_lock.h"
#include "app/mainwindow.h"
#include "app/root_directory.h"
#include "common/desktop.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    // Qt would write to the console where a session lacks something or a description is faulty.
    qInstallMessageHandler(DropMessage);
    const QApplication application(argc, argv);
    const QString root =
        RootDirectory(QCoreApplication::arguments(), QCoreApplication::applicationDirPath());

    auto *window = new MainWindow(nullptr); // lives until the process ends
    DataSingleton::Initialize(window, root);
    InstallationLock lock(DataSingleton::Inst()->GetDownloadsDir());
    window->WorkUnder(&lock);
    window->Initialize();
    window->show();
    return QApplication::exec();
}
