#pragma once

#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"
#include "support/sample_files.h"

#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>

/// An installation in a temporary directory, with the extractor in its place and the program's
/// window over it.
///
/// The program never destroys its window, so neither does this: the windows of former runs live on,
/// hidden and idle, until the test program ends.
class Installation
{
public:
    /// With \a beats false the program's clock stands still, and only Work() drives the pipeline.
    explicit Installation(bool beats = true);
    ~Installation();

    /// A new run of the program over the same root.
    void Restart();
    /// Presses "Connect" with \a url in the repository table.
    void Connect(const QString &url);
    /// Waits for the end of the connection sequence. True if it ended with a catalogue.
    bool IsConnected();
    /// The same for a connection that it begins.
    bool Connects(const QString &url);
    /// Lets the pipeline work, with more heartbeats than the clock gives, until \a done. False if
    /// that takes too long.
    bool Work(const std::function<bool()> &done);
    bool Reaches(const DN_FILE_STRUCT *record, int status);

    /// Presses a button of the core page with the row of \a record selected, as a person does.
    void Press(const QString &button, DN_FILE_STRUCT *record) const;

    MainWindow *Window() const { return m_window; }
    /// The record of a file, null without one.
    DN_FILE_STRUCT *Record(const QString &file_name) const;
    /// \a path below the root.
    QString Path(const QString &path) const { return m_root.filePath(path); }
    QString Download(const QString &file_name) const { return Path("downloads/" + file_name); }
    template <typename Widget> Widget *Find(const char *object_name) const
    {
        return m_window->findChild<Widget *>(object_name);
    }
    /// The lines of the message log without their times.
    QStringList Log() const;

private:
    void End();

    bool m_beats;
    QTemporaryDir m_root;
    MainWindow *m_window = nullptr;
};

/// Presses buttons in the boxes that come up, in this order, and keeps what they asked. A box too
/// many is cancelled.
struct BoxAnswers
{
    explicit BoxAnswers(QList<QMessageBox::StandardButton> answers);

    QTimer watch;
    QStringList questions;
    const QWidget *parent = nullptr; // of the last box
};
