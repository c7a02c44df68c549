#include "panels/widget_helper.h"

#include <QAbstractButton>

void SetEnabled(QWidget *widget, bool enabled, QWidget *heir)
{
    if (!enabled && widget->window()->focusWidget() == widget)
        heir->setFocus();
    widget->setEnabled(enabled);
}

void SetButtonText(QAbstractButton *button, const QString &text)
{
    const QKeySequence shortcut = button->shortcut();
    button->setText(text);
    button->setShortcut(shortcut);
}
