#include "app/datasingleton.h"
#include "app/installation_lock.h"
#include "app/mainwindow.h"
#include "app/root_directory.h"
#include "common/desktop.h"
#include "pipeline/extractor.h"

#include <QApplication>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kHelp[] = R"(usage: zeft_updater ["#DIRECTORY"]
       zeft_updater --help | --version

Shows in a window what a repository offers for an installation of ZEFT, and installs, updates and
uninstalls its components.

  "#DIRECTORY"  the installation; without it, the directory above the program's own. A shell needs
                the quotes.
  --help        print this text
  --version     print the version)";

/// What \a argument asks to be printed; null if it asks for nothing.
const char *AnswerTo(const char *argument)
{
    if (std::strcmp(argument, "--help") == 0)
        return kHelp;
    if (std::strcmp(argument, "--version") == 0)
        return "zeft_updater " ZEFT_VERSION;
    return nullptr;
}

/// A run of an extractor that isn't there ends at once, and an end counts as success.
void TellIfExtractorIsMissing()
{
    if (!QFileInfo(ExtractorPath()).isExecutable()) {
        DataSingleton::Inst()->AddMsg(
            QString("Nothing can be installed or deleted: %1 can't be started.")
                .arg(ExtractorPath()),
            LogLevel::Error);
    }
}

/// A message handler for the start: Qt ends a program that finds no display, and blames the
/// installation for it. It drops all else.
void TellThatNoDisplayAnswers(QtMsgType type, const QMessageLogContext &, const QString &)
{
    if (type != QtFatalMsg)
        return;
    QByteArray tried;
    for (const char *variable : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"})
        if (!qEnvironmentVariableIsEmpty(variable))
            tried += QByteArray(" ") + variable + '=' + qgetenv(variable);
    std::fprintf(stderr,
                 "zeft_updater: no window can be opened%s%s.\n"
                 "Start it in a desktop session, or set DISPLAY to an X server that lets you in.\n",
                 tried.isEmpty() ? ", as DISPLAY is not set" : "; tried", tried.constData());
    std::_Exit(EXIT_FAILURE);
}

/// Lets Qt open X11 windows without OpenGL, of which we use nothing and whose loading takes half of
/// the start. What we start later gets the environment that we got.
class WithoutOpenGl
{
public:
    WithoutOpenGl()
    {
        if (m_isOurs)
            qputenv(kVariable, "none");
    }
    ~WithoutOpenGl()
    {
        if (m_isOurs)
            qunsetenv(kVariable);
    }

private:
    static constexpr char kVariable[] = "QT_XCB_GL_INTEGRATION";
    const bool m_isOurs = !qEnvironmentVariableIsSet(kVariable);
};

} // namespace

int main(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (const char *answer = AnswerTo(argv[i])) {
            std::puts(answer);
            return 0;
        }
    }

    // Qt would write to the console where a session lacks something or a description is faulty.
    qInstallMessageHandler(TellThatNoDisplayAnswers);
    const QApplication application(argc, argv);
    qInstallMessageHandler(DropMessage);
    const QString root =
        RootDirectory(QCoreApplication::arguments(), QCoreApplication::applicationDirPath());

    auto *window = new MainWindow(nullptr); // lives until the process ends
    DataSingleton::Initialize(window, root);
    InstallationLock lock(DataSingleton::Inst()->GetDownloadsDir());
    window->WorkUnder(&lock);
    window->Initialize();
    TellIfExtractorIsMissing();
    {
        const WithoutOpenGl scope;
        window->show();
    }
    return QApplication::exec();
}
