#include "panels/description_view.h"

#include "catalogue/descriptions.h"
#include "common/desktop.h"

#include <QBuffer>
#include <QImageReader>

namespace {

/// The format, by the bytes that it begins with, of a picture that can't refer to a file. An SVG
/// can, and Qt would open what it names just to tell its size. Empty for all else.
QByteArray BitmapFormat(const QByteArray &bytes)
{
    const std::pair<const char *, const char *> formats[] = {
        {"\x89PNG", "png"}, {"\xFF\xD8\xFF", "jpeg"}, {"GIF8", "gif"}, {"BM", "bmp"}};
    for (const auto &[begin, format] : formats) {
        if (bytes.startsWith(begin))
            return format;
    }
    return QByteArray();
}

} // namespace

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

/// Never gives a null QVariant, for which Qt would look for the file on the disk by itself.
QVariant DescriptionView::loadResource(int type, const QUrl &name)
{
    if (type != QTextDocument::ImageResource)
        return QByteArray("");
    QByteArray bytes;
    PictureFile file;
    if (name.isRelative()) {
        file.size = DescriptionSize(name.path());
        bytes = DescriptionData(name.path());
    } else if (name.scheme() == "data") { // RFC 2397
        bytes = QByteArray::fromBase64(name.path().section(',', 1).toLatin1());
    }
    m_pixelsLeft += m_files.value(name).pixels; // what an earlier reading took
    const QImage picture = Picture(bytes, file.pixels);
    if (name.isRelative())
        m_files[name] = file;
    if (!picture.isNull())
        return picture;
    QImage nothing(1, 1, QImage::Format_ARGB32);
    nothing.fill(Qt::transparent);
    return nothing;
}

void DescriptionView::ShowText(const QString &html)
{
    document()->clear(); // setHtml() alone would keep the late pictures
    m_files.clear();
    m_pixelsLeft = kMostPixels;
    setHtml(html);
}

void DescriptionView::ShowLatePictures()
{
    bool is_changed = false;
    const QList<QUrl> names = m_files.keys();
    for (const QUrl &name : names) {
        if (DescriptionSize(name.path()) == m_files[name].size)
            continue;
        const int type = QTextDocument::ImageResource;
        document()->addResource(type, name, loadResource(type, name));
        is_changed = true;
    }
    if (is_changed)
        document()->markContentsDirty(0, document()->characterCount());
}

QImage DescriptionView::Picture(QByteArray bytes, qint64 &pixels)
{
    const QByteArray format = BitmapFormat(bytes);
    if (format.isEmpty())
        return QImage();
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const qint64 area = static_cast<qint64>(reader.size().width()) * reader.size().height();
    if (!reader.size().isValid() || area > m_pixelsLeft)
        return QImage();
    pixels = area;
    m_pixelsLeft -= pixels;
    return reader.read();
}
