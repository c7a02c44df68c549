#include "panels/descriptionview.h"

#include "catalogue/documents.h"
#include "panels/desktop.h"

DescriptionView::DescriptionView(QWidget *parent)
    : QTextBrowser(parent)
{
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, [](const QUrl &link) {
        if (link.scheme() == "https" || link.scheme() == "http")
            OpenOnDesktop(link);
    });
}

QVariant DescriptionView::loadResource(int /*type*/, const QUrl &name)
{
    return name.isRelative() ? DocumentData(name.path()) : QVariant();
}
