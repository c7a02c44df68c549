#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"
#include "bench.h"
#include "catalogue/records.h"

#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>

namespace {

template <typename Work> double TimeOf(Work work)
{
    QElapsedTimer clock;
    clock.start();
    work();
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

double Beat(MainWindow &window)
{
    return TimeOf([&] { window.Timer500(); });
}

} // namespace

int Heartbeat(int argc, char **argv)
{
    const QApplication application(argc, argv);
    auto &window = *new MainWindow(nullptr); // like the program's, it outlives everything
    DataSingleton::Initialize(&window, argv[1]);
    window.show();
    for (int n = 0; n < QString(argv[2]).toInt(); ++n)
        window.fversions_lines.append(
            QString("8#%1.zip#core/version_latest#2026-01-02T1#1#1").arg(n));
    std::printf("%.1f ", TimeOf([&] { window.MakeRecords(); }));
    std::printf("%.1f ", TimeOf([&] { window.AddTreeArchItems(); }));
    Beat(window);
    std::printf("%.1f ", Beat(window));

    window.repo_url = "https://localhost:9"; // nobody is there
    for (int n = 0; n < window.records.size(); n += 10)
        window.AddToDownload(window.records[n]);
    std::printf("%.1f ", Beat(window));
    std::printf("%.1f ", Beat(window));
    for (int n = 0; n < window.records.size(); n += 10)
        window.CancelDownloadInstall(window.records[n]);
    std::printf("%.1f\n", Beat(window));
    return 0;
}
