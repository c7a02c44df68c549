#include "base/memory_limit.h"
#include "repository_checks.h"
#include "repository_source.h"
#include "repository_writer.h"

#include <QCoreApplication>

#include <cstdio>

namespace {
void PrintUsage()
{
    std::fputs(
        "usage: zeft_repo build SOURCE DEST\n"
        "\n"
        "Makes of SOURCE, a folder with repository.json, component archives and description\n"
        "pages, a repository below DEST, the document root of a web server. What the updater\n"
        "could not handle is refused before anything in DEST changes.\n",
        stderr);
}

int Fail(const QStringList &problems)
{
    for (const QString &problem : problems)
        std::fprintf(stderr, "zeft_repo: %s\n", qUtf8Printable(problem));
    return 1;
}

int Build(const QString &source_dir, const QString &dest_dir)
{
    LimitMemory();
    RepositorySource source;
    QStringList problems = ReadRepositorySource(source_dir, source);
    if (problems.isEmpty())
        problems = CheckRepository(source);
    if (problems.isEmpty())
        problems = WriteRepository(source, dest_dir);
    if (!problems.isEmpty())
        return Fail(problems);

    std::printf("%d components and %d packages in %s\n", source.components.size(),
                source.packages.size(), qUtf8Printable(dest_dir));
    return 0;
}
} // namespace

int main(int argc, char *argv[])
{
    // Names of files and archive entries are UTF-8 here, whatever the shell's locale says.
    qputenv("LC_ALL", "C.UTF-8");
    const QCoreApplication application(argc, argv);

    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments[1] == "build")
        return Build(arguments[2], arguments[3]);
    PrintUsage();
    return 2;
}
