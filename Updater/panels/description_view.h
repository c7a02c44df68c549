#pragma once

#include <QHash>
#include <QTextBrowser>

/// Shows a description. It comes from the repository, so what it names is looked for among its own
/// kind alone and may only be a picture, and a link leads to a place in it or to the desktop's
/// browser.
class DescriptionView : public QTextBrowser
{
    Q_OBJECT

public:
    explicit DescriptionView(QWidget *parent);

    QVariant loadResource(int type, const QUrl &name) override;

    /// Replaces the text, and drops the pictures that were read for the former one.
    void ShowText(const QString &html);
    /// Reads again the pictures whose files were not there yet, or not whole, when they were read.
    void ShowLatePictures();

private:
    static const qint64 kMostPixels = 50000000; // a few bytes can hold a picture of gigabytes

    struct PictureFile
    {
        qint64 size = 0; // bytes, when it was read
        qint64 pixels = 0;
    };

    /// The picture, with its number of pixels; null for bytes that are no picture, and for one that
    /// is larger than m_pixelsLeft.
    QImage Picture(QByteArray bytes, qint64 &pixels);

    QHash<QUrl, PictureFile> m_files;  // of the pictures, by the names that the text has
    qint64 m_pixelsLeft = kMostPixels; // for the text's further pictures
};
