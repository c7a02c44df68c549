#pragma once

class MainWindow;

// The benches, each called like a program of its name. They print what the script of the same name
// reads.

/// usage: file_sum FILE
///
/// Prints the file's byte sum, and the seconds that it took.
int FileSum(int argc, char **argv);

/// usage: heartbeat ROOT RECORDS
///
/// One window over many records: how long a heartbeat holds the event loop. Prints milliseconds: of
/// making the records and of showing them, which processes events all along; then of a heartbeat at
/// rest, of the first and the second one with every tenth record waiting for its download, and
/// of the one that finds these cancelled.
int Heartbeat(int argc, char **argv);

/// usage: start ROOT
///
/// Opens the window as the updater does, see TellWhenPainted().
int Start(int argc, char **argv);

/// usage: transfer get|get-busy|get-floor|probe|probe-floor URL FILE SIZE_OR_COUNT
///
/// Fetches URL into FILE, or probes it COUNT times over, and prints what that cost this process:
/// its memory before and at the peak in kB, and for how long its event loop was held, in ms of the
/// clock and of the processor. The floor is the least that a program with Qt can do.
int Transfer(int argc, char **argv);

/// usage: window ROOT URL
///
/// The updater's window, connected to a repository. What a user feels of it is measured from the X
/// server's time stamp of a key to the key's delivery. Prints a line with its name as each stage
/// begins: lists, probes, tree, after. F12 closes the window and prints for how many ms it stayed.
/// F8 is for the last stage: it prints as JSON the longest wait of a key in each stage, what of it
/// this program can have worked, and the time of building the tree (ms), the processor time of a
/// search in it (ms), the memory of a package's page (kB), and the percent of a processor that one
/// minute of rest takes.
int Window(int argc, char **argv);

/// The updater's window as the program starts with it, but not shown. It is never deleted.
MainWindow &UpdaterWindow(const char *root);
