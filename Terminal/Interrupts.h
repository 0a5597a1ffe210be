#pragma once

namespace orvane::terminal {

/// What the terminal and others want of the program while it asks, plans and runs.
class Interrupts {
  public:
    /// From now on Ctrl-C, SIGTERM, SIGHUP and a reader that went away end nothing by themselves; programs that are
    /// started have them as always.
    static void take();

    /// How often Ctrl-C came.
    static int count();
    /// The signal that wants an end, a Ctrl-C included; 0 for none.
    static int signal();
    /// The exit status for that: 130 for Ctrl-C.
    static int exitStatus() { return 128 + signal(); }
};

} // namespace orvane::terminal
