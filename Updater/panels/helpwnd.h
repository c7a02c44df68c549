#pragma once

#include "panels/wsp_blk_item.h"

#include <QUrl>
#include <QWidget>

class QAction;

/// The help entry. This program opens the documentation outside of itself and makes no object of
/// this class: there is no page view, so the slots of one do nothing.
class HelpWnd : public QWidget
{
    Q_OBJECT

public:
    explicit HelpWnd(QWidget *parent);

    /// Opens \a page of the installed web help in the desktop's browser; with a null \a page the
    /// compiled help at \a context_id in its viewer. A missing browser or viewer isn't reported.
    static void StartDocumentation(const QString &deploy_path, unsigned int context_id,
                                   const char *page);
    void ResetWnd();

signals:
    void Signal_ShowHome();
    void Signal_SetFile(const WSP_BLK_ITEM_STRUCT *block, bool append, bool load_invisible);
    void Signal_SetFile(QString fname, bool append, bool load_invisible);

public slots:
    void ShowHome();
    void ZoomIn();
    void ZoomOut();
    void Back();
    void Forward();
    void Reload();
    /// Shows the first help file of a block; without one the window is reset.
    void SetFile(const WSP_BLK_ITEM_STRUCT *block, bool append = false,
                 bool load_invisible = false);
    /// Shows a file that exists; with \a append a file on show stays. A hidden window takes a file
    /// only with \a load_invisible.
    void SetFile(QString fname, bool append = false, bool load_invisible = false);

private slots:
    void UrlChanged(QUrl url);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    QString m_currentFile; // full path; empty when the window is reset
    QAction *m_actionHome;
    QAction *m_actionZoomIn;
    QAction *m_actionZoomOut;
};
