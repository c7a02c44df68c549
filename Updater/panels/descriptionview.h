#pragma once

#include <QTextBrowser>

/// Shows a description page. Pages come from the repository, so what one names, such as an image,
/// is looked for among its own kind alone, and a link leads to the desktop's browser.
class DescriptionView : public QTextBrowser
{
    Q_OBJECT

public:
    explicit DescriptionView(QWidget *parent);

    QVariant loadResource(int type, const QUrl &name) override;
};
