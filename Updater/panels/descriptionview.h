#pragma once

#include <QHash>
#include <QTextBrowser>

/// Shows a description page. Pages come from the repository, so what one names is looked for among
/// its own kind alone and may only be a picture, and a link leads to a place in the page or to the
/// desktop's browser.
class DescriptionView : public QTextBrowser
{
    Q_OBJECT

public:
    explicit DescriptionView(QWidget *parent);

    QVariant loadResource(int type, const QUrl &name) override;

    /// Reads again the pictures whose files were not there yet, or not whole, when they were read.
    void ShowLatePictures();

private:
    QImage Picture(QByteArray bytes);

    QHash<QUrl, qint64> m_fileSizes; // of the page's pictures, as they were read
    qint64 m_pixelsLeft = 50000000;  // a few bytes can hold a picture of gigabytes
};
