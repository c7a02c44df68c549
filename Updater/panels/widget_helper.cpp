#include "panels/widget_helper.h"

#include <QAbstractButton>
#include <QHeaderView>
#include <QHelpEvent>
#include <QPlainTextEdit>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QTextDocument>
#include <QToolTip>
#include <QtMath>

namespace {

class CutTextDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override
    {
        if (event->type() != QEvent::ToolTip || index.data(Qt::ToolTipRole).isValid()
            || sizeHint(option, index).width() <= option.rect.width())
            return QStyledItemDelegate::helpEvent(event, view, option, index);
        // A name may look like mark-up.
        QToolTip::showText(event->globalPos(), Qt::convertFromPlainText(index.data().toString()),
                           view->viewport(), option.rect);
        return true;
    }
};

} // namespace

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

void SetWidthInCharacters(QWidget *widget, int characters)
{
    widget->setMinimumWidth(widget->fontMetrics().averageCharWidth() * characters);
}

void SetHeightInLines(QPlainTextEdit *text, int lines)
{
    const double margins = 2.0 * (text->frameWidth() + text->document()->documentMargin());
    text->setMinimumHeight(text->fontMetrics().lineSpacing() * lines + qCeil(margins));
}

void ShowCutTexts(QAbstractItemView *view)
{
    view->setItemDelegate(new CutTextDelegate(view));
}

void SetUpTable(QTableWidget *table)
{
    ShowCutTexts(table);
    QHeaderView *rows = table->verticalHeader();
    rows->setDefaultSectionSize(
        qMax(rows->defaultSectionSize(), table->fontMetrics().height() * 3 / 2));
}
