#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/rootdirectory.h"
#include "panels/desktop.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    // From here on the toolkit would tell the console of faults in the repository's pages, too.
    qInstallMessageHandler(DropMessage);
    const QString root =
        RootDirectory(QCoreApplication::arguments(), QCoreApplication::applicationDirPath());

    auto *window = new MainWindow(nullptr); // lives until the process ends
    DataSingleton::Initialize(window, root);
    window->Initialize();
    window->show();
    return QApplication::exec();
}
