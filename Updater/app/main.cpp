#include "app/datasingleton.h"
#include "app/installationlock.h"
#include "app/mainwindow.h"
#include "app/rootdirectory.h"
#include "panels/desktop.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    // The toolkit tells of a session that lacks something, and of faults in the repository's pages.
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
