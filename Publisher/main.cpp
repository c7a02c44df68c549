#include "base/failure.h"
#include "build.h"
#include "check.h"
#include "jobs.h"
#include "report.h"
#include "source/starter.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <cstdio>

namespace {

// Exit codes
const int kWell = 0;
const int kFailed = 1; // a finding that is an error, or a failure
const int kWrongUse = 2;

const QCommandLineOption kHelp({"h", "help"}, "Print a help text.");
const QCommandLineOption kJson("json", "Print the report as JSON.");
const QCommandLineOption kQuiet({"q", "quiet"}, "Print findings and failures only.");
const QCommandLineOption kSums("sums", "Fetch all archives of a server, too, and unpack them.");
const QCommandLineOption kDryRun("dry-run", "Print the report, and change nothing.");

/// One of the words that may stand behind the program's name.
struct Command
{
    const char *name;
    QStringList arguments;
    const char *summary;
    const char *description;
    QList<QCommandLineOption> options;
    int (*run)(const QStringList &arguments, const QCommandLineParser &parser,
               const ReportStyle &style);
};

ShowProgress ProgressFor(const ReportStyle &style)
{
    return style.is_quiet ? [](int, int) {} : ShowProgressLine;
}

int RunInit(const QStringList &arguments, const QCommandLineParser & /*parser*/,
            const ReportStyle &style)
{
    MakeStarter(arguments[0]);
    if (!style.is_quiet)
        std::printf("%s: a source tree, with a README. Try: zeft_repo build %s SITE\n",
                    qUtf8Printable(arguments[0]), qUtf8Printable(arguments[0]));
    return kWell;
}

int RunBuild(const QStringList &arguments, const QCommandLineParser &parser,
             const ReportStyle &style)
{
    const BuildMode mode = parser.isSet(kDryRun) ? BuildMode::DryRun : BuildMode::Publish;
    return ReportBuild(Build(arguments[0], arguments[1], mode, ProgressFor(style)), arguments[1],
                       style);
}

int RunCheck(const QStringList &arguments, const QCommandLineParser &parser,
             const ReportStyle &style)
{
    return ReportFindings(Check(arguments[0], parser.isSet(kSums), ProgressFor(style)),
                          arguments[0], style);
}

int RunRollBack(const QStringList &arguments, const QCommandLineParser & /*parser*/,
                const ReportStyle &style)
{
    return ReportBuild(RollBack(arguments[0]), arguments[0], style);
}

const QList<Command> &Commands()
{
    static const QList<Command> commands = {
        {"init",
         {"DIR"},
         "makes a source tree to start from",
         "Makes the folder DIR, which must be empty or missing, a source tree to start from.",
         {kQuiet},
         RunInit},
        {"build",
         {"SOURCE", "SITE"},
         "makes a site of a source tree, or brings it up to date",
         "Makes of the tree SOURCE a repository in SITE, the document root of a web server, and "
         "tells what it does to users. SITE/zeft is exchanged as a whole; what stood there before "
         "stays in SITE/zeft.previous until the next build. Nothing changes where a check finds an "
         "error.",
         {kDryRun, kJson, kQuiet},
         RunBuild},
        {"check",
         {"TARGET"},
         "finds what the updater would stumble over",
         "Checks TARGET, a source tree, a site, or the URL of a server as the updater has it. "
         "rules.md, among the documentation, explains each rule by its id.",
         {kSums, kJson, kQuiet},
         RunCheck},
        {"rollback",
         {"SITE"},
         "brings back the release before",
         "Exchanges SITE/zeft and SITE/zeft.previous.",
         {kJson, kQuiet},
         RunRollBack},
    };
    return commands;
}

QString Overview()
{
    QString text = "Usage: zeft_repo COMMAND ...\n\nMakes and checks repositories for the ZEFT "
                   "Updater.\n\nCommands:\n";
    for (const Command &command : Commands()) {
        text += QString("  %1 %2\n")
                    .arg((command.name + (' ' + command.arguments.join(' '))).leftJustified(20),
                         command.summary);
    }
    return text
           + "\n\"zeft_repo COMMAND --help\" tells more, \"zeft_repo --version\" the version.\n"
             "Exit codes: 0 if all is well, 1 for findings that are errors and for failures, 2 "
             "for\n"
             "wrong usage.\n";
}

int PrintText(const QString &text)
{
    std::fputs(qUtf8Printable(text), stdout);
    return kWell;
}

int RefuseUsage(const QString &fault)
{
    ReportFailure(fault);
    return kWrongUse;
}

/// As QCommandLineParser words it, but with the command in its place.
QString HelpFor(const Command &command, const QCommandLineParser &parser)
{
    const QString options = parser.helpText().section("Options:", 1).section("\n\n", 0, 0);
    return QString("Usage: zeft_repo %1 [options] %2\n\n%3\n\nOptions:%4\n")
        .arg(command.name, command.arguments.join(' '), command.description, options);
}

/// Runs the command. \a arguments has the program's name, the command's and all else.
int Run(const Command &command, const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions(command.options);
    parser.addOption(kHelp);
    if (!parser.parse(arguments))
        return RefuseUsage(parser.errorText());
    if (parser.isSet(kHelp))
        return PrintText(HelpFor(command, parser));
    const QStringList values = parser.positionalArguments().mid(1);
    if (values.size() != command.arguments.size() || values.contains(QString()))
        return RefuseUsage(
            QString("usage: zeft_repo %1 %2").arg(command.name, command.arguments.join(' ')));
    const auto is_set = [&](const char *name) { return parser.optionNames().contains(name); };
    const ReportStyle style = {is_set("json"), is_set("q") || is_set("quiet")};
    try {
        return command.run(values, parser, style);
    } catch (const Failure &failure) {
        ReportFailure(QString::fromLocal8Bit(failure.what()), style);
        return kFailed;
    }
}

int Dispatch(const QStringList &arguments)
{
    // No option takes a value, so the first word is the command.
    const auto word = std::find_if(arguments.begin() + 1, arguments.end(),
                                   [](const QString &text) { return !text.startsWith('-'); });
    for (const Command &command : Commands())
        if (word != arguments.end() && *word == command.name)
            return Run(command, arguments);
    if (word != arguments.end())
        return RefuseUsage(QString("\"%1\" is no command, see zeft_repo --help").arg(*word));
    const QString option = arguments.size() == 2 ? arguments[1] : QString();
    if (option == "-h" || option == "--help")
        return PrintText(Overview());
    if (option == "--version")
        return PrintText(QString("zeft_repo %1\n").arg(ZEFT_VERSION));
    return RefuseUsage("a command is missing, see zeft_repo --help");
}

/// What was printed may still be on its way. Returns \a code, unless it didn't get through.
int Flush(int code)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return code;
    ReportFailure("the output can't be written");
    return kFailed;
}

} // namespace

int main(int argc, char *argv[])
{
    // Names of files and archive entries are UTF-8 here, whatever the shell's locale says.
    qputenv("LC_ALL", "C.UTF-8");
    const QCoreApplication application(argc, argv);
    CatchInterruptions();
    try {
        return Flush(Dispatch(QCoreApplication::arguments()));
    } catch (const Interrupted &) {
        DieOfInterruption();
    } catch (const std::exception &failure) {
        ReportFailure(QString::fromLocal8Bit(failure.what()));
    }
    return kFailed;
}
