#include "app/mainwindow.h"
#include "bench.h"
#include "painted.h"

#include <QApplication>

int Start(int argc, char **argv)
{
    const QApplication application(argc, argv);
    TellWhenPainted(UpdaterWindow(argv[1]));
}
