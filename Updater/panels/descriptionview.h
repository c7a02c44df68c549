#pragma once

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

private:
    QImage Picture(QByteArray bytes);

    qint64 m_pixelsLeft = 50000000; // a few bytes can hold a picture of gigabytes
};
