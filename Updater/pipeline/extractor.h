#pragma once

#include <QStringList>

class QByteArray;
class QProcess;
struct DN_FILE_STRUCT;

// The extractor zeft_fextr_cmd, as the stages use it: one run for each action. The paths in its
// arguments stand behind a "#". It prints its percent on standard output; nothing else of a run is
// looked at, so its end counts as success.

/// Where the installation has its extractor.
QString ExtractorPath();

/// The script that a component may bring along.
QString ScriptPath(const QString &component_dir);

QStringList UnpackArguments(const QString &file_name, const QString &local_dir,
                            const QString &install_root);
QStringList ScriptArguments(const QString &component_dir);
QStringList DeleteArguments(const QString &component_dir);

/// Finds the last percent in what a run has printed. False, and \a percent unchanged, if there is
/// none. A text in front of the "%" that is no number counts as 0.
bool LastPercent(const QByteArray &output, int &percent);

/// Starts a run in the downloads directory. The caller owns the process.
QProcess *StartExtractor(const QStringList &arguments);
/// Kills a run, if there is one, and lets go of its process; sets the pointer to null.
void KillExtractor(QProcess *&process);

/// A run that nobody follows. It outlives this program unless it is killed.
class DetachedExtractor
{
public:
    void Start(const QStringList &arguments);
    /// Kills the run, if it is still at work, and waits 100 ms at most for its end.
    void Kill();

private:
    bool IsAtWork() const;

    qint64 m_pid = 0;
    QStringList m_arguments;
};

/// Follows a run by one step: what it has newly printed becomes the progress of its record, at
/// least \a floor. True once the run has ended, however it ended.
bool FollowRun(QProcess *process, DN_FILE_STRUCT *record, int floor);
