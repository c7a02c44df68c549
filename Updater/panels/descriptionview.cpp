#include "panels/descriptionview.h"

#include "catalogue/documents.h"
#include "panels/desktop.h"

#include <QBuffer>
#include <QImageReader>

DescriptionView::DescriptionView(QWidget *parent)
    : QTextBrowser(parent)
{
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl &link) {
        if (link.scheme() == "https" || link.scheme() == "http")
            OpenOnDesktop(link);
        else if (link.toString().startsWith('#'))
            scrollToAnchor(link.fragment());
    });
}

/// Never null: the toolkit would then look for the name all over the disk.
QVariant DescriptionView::loadResource(int type, const QUrl &name)
{
    if (type != QTextDocument::ImageResource)
        return QByteArray("");
    QByteArray bytes;
    if (name.isRelative())
        bytes = DocumentData(name.path());
    else if (name.scheme() == "data") // RFC 2397
        bytes = QByteArray::fromBase64(name.path().section(',', 1).toLatin1());
    const QImage picture = Picture(bytes);
    if (!picture.isNull())
        return picture;
    QImage nothing(1, 1, QImage::Format_ARGB32);
    nothing.fill(Qt::transparent);
    return nothing;
}

/// Null for what is none, or more than the page has pixels left.
QImage DescriptionView::Picture(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const qint64 pixels = static_cast<qint64>(reader.size().width()) * reader.size().height();
    if (!reader.size().isValid() || pixels > m_pixelsLeft)
        return QImage();
    m_pixelsLeft -= pixels;
    return reader.read();
}
