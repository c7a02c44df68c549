#include "panels/helpwnd.h"

#include "common/common_helper.h"
#include "common/desktop.h"

#include <QAction>
#include <QProcess>

namespace {

QAction *MakeAction(const QString &text, const QString &tip, QObject *parent)
{
    auto *action = new QAction(text, parent);
    action->setToolTip(tip);
    action->setStatusTip(tip);
    return action;
}

} // namespace

HelpWnd::HelpWnd(QWidget *parent)
    : QWidget(parent)
    , m_actionHome(MakeAction(tr("Home"), tr("Start Page"), this))
    , m_actionZoomIn(MakeAction(tr("Zoom In"), tr("Zoom In"), this))
    , m_actionZoomOut(MakeAction(tr("Zoom Out"), tr("Zoom Out"), this))
{
    connect(m_actionHome, &QAction::triggered, this, &HelpWnd::ShowHome);
    connect(m_actionZoomIn, &QAction::triggered, this, &HelpWnd::ZoomIn);
    connect(m_actionZoomOut, &QAction::triggered, this, &HelpWnd::ZoomOut);

    using Block = const WSP_BLK_ITEM_STRUCT *;
    connect(this, &HelpWnd::Signal_ShowHome, this, &HelpWnd::ShowHome);
    connect(this, QOverload<Block, bool, bool>::of(&HelpWnd::Signal_SetFile), this,
            QOverload<Block, bool, bool>::of(&HelpWnd::SetFile));
    connect(this, QOverload<QString, bool, bool>::of(&HelpWnd::Signal_SetFile), this,
            QOverload<QString, bool, bool>::of(&HelpWnd::SetFile));
}

void HelpWnd::StartDocumentation(const QString &deploy_path, unsigned int context_id,
                                 const char *page)
{
    if (page) {
        const QString path = deploy_path + "/doc/zeft_web_help/" + page;
        OpenOnDesktop(QUrl::fromLocalFile(path));
    } else {
        QProcess::startDetached("xchm", {"--contextid=" + QString::number(context_id),
                                         deploy_path + "/help/ZEFT_Documentation.chm"});
    }
}

void HelpWnd::ResetWnd()
{
    m_currentFile.clear();
}

void HelpWnd::SetFile(const WSP_BLK_ITEM_STRUCT *block, bool append, bool load_invisible)
{
    const WSP_BLK_HELP_STRUCT *help =
        block && block->block_info ? block->block_info->help_info : nullptr;
    if (!help || help->help_files.isEmpty()) {
        ResetWnd();
        return;
    }
    SetFile(block->block_dir + "/doc/" + help->help_files.first(), append, load_invisible);
}

void HelpWnd::SetFile(QString fname, bool append, bool load_invisible)
{
    if ((!isVisible() && !load_invisible) || fname.isEmpty() || !IsFilePresent(fname)) {
        ResetWnd();
        return;
    }
    if (!append || m_currentFile.isEmpty())
        m_currentFile = fname;
}

void HelpWnd::ShowHome() {}

void HelpWnd::ZoomIn() {}

void HelpWnd::ZoomOut() {}

void HelpWnd::Back() {}

void HelpWnd::Forward() {}

void HelpWnd::Reload() {}

void HelpWnd::UrlChanged(QUrl /*url*/) {}

void HelpWnd::contextMenuEvent(QContextMenuEvent * /*event*/) {}
