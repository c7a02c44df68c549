#include "naming.h"

#include <QStringList>

QString NameFault(const QString &name)
{
    // "#" separates the fields of a manifest, the others mean something else in a URL or a path.
    static const QString special = "#?%/\\";
    if (name.isEmpty())
        return "a name is empty";
    if (name == "." || name == "..")
        return QString("\"%1\" is not a name").arg(name);
    if (name.trimmed() != name)
        return QString("\"%1\" begins or ends with a blank").arg(name);
    for (const QChar c : name) {
        if (special.contains(c))
            return QString("\"%1\" holds a \"%2\"").arg(name, c);
        if (c.category() == QChar::Other_Control)
            return QString("\"%1\" holds a control character").arg(name);
    }
    return {};
}

QString PathFault(const QString &path)
{
    for (const QString &part : path.split('/')) {
        QString fault = NameFault(part);
        if (!fault.isEmpty())
            return fault;
    }
    return {};
}
