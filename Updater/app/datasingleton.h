#pragma once

#include <QString>

class MainWindow;
class QElapsedTimer;

/// The levels of the message log; each has a colour.
namespace LogLevel {
enum : int { Information = 1, Warning = 2, Error = 3 };
}

/// The application's context: the installation that it serves, its log and its clock.
///
/// There is one instance, made by Initialize() and never deleted; Inst() is null before. The paths
/// have no trailing "/" and never change.
class DataSingleton
{
public:
    /// Makes the instance and the downloads directory below \a path, the root of the installation.
    /// Only the first call has an effect. A directory that can't be made is not reported here.
    static void Initialize(MainWindow *window, const QString &path);
    static DataSingleton *Inst();

    /// Writes a line to the message log in the colour of its LogLevel, see MainWindow::AddMsg().
    void AddMsg(const QString &text, int level);

    QString GetDownloadsDir() const;
    QString DeployPath() const;    // holds "bin_lnx" and the documentation
    QString InstalledPath() const; // holds the components and the downloads directory
    MainWindow *Window() const;

    /// Waits \a ms milliseconds, with events processed in between where \a process_events is set.
    void Sleep(int ms, bool process_events);
    /// Milliseconds since the instance was made, on a steady clock.
    qint64 GetElapsedTime() const;

    static DataSingleton *m_pInstance;

private:
    explicit DataSingleton(MainWindow *window);

    MainWindow *main_window; // not owned
    QElapsedTimer *elapsed_timer;
    QString deploy_path;
    QString installed_path;
};
