// The smallest program of Qt's widgets: an empty window.

#include "painted.h"

#include <QApplication>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QWidget window;
    TellWhenPainted(window);
}
