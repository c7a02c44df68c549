#include "panels/descriptionview.h"

#include "catalogue/documents.h"
#include "panels/desktop.h"

#include <QBuffer>
#include <QImageReader>

DescriptionView::DescriptionView(QWidget *parent)
    : QTextBrowser(parent)
{
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, [](const QUrl &link) {
        if (link.scheme() == "https" || link.scheme() == "http")
            OpenOnDesktop(link);
    });
}

QVariant DescriptionView::loadResource(int type, const QUrl &name)
{
    if (type != QTextDocument::ImageResource || !name.isRelative())
        return QVariant();
    QByteArray bytes = DocumentData(name.path());
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const qint64 pixels = static_cast<qint64>(reader.size().width()) * reader.size().height();
    if (!reader.size().isValid() || pixels > m_pixelsLeft)
        return QVariant();
    m_pixelsLeft -= pixels;
    return reader.read();
}
