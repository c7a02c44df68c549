#pragma once

#include <QObject>

/// A test class that fails if Qt, or the code under test through qWarning() and its like, would
/// have written to the console.
///
/// The programs write nothing there in any path. A class with slots of its own of these names calls
/// these from there.
class QuietTest : public QObject
{
    Q_OBJECT

protected slots:
    /// Replaces Qt's message handler, Qt Test's own included, until the program ends.
    void initTestCase();
    void cleanup();
};
