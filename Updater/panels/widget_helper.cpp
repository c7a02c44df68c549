#include "panels/widget_helper.h"

#include <QAbstractButton>

void SetButtonText(QAbstractButton *button, const QString &text)
{
    const QKeySequence shortcut = button->shortcut();
    button->setText(text);
    button->setShortcut(shortcut);
}
