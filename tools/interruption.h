// Signals that ask the tool to end: they are noted, and whoever works looks at the note between two photos.
#pragma once

namespace skylevel {

// From here on SIGINT, SIGTERM, SIGHUP and SIGPIPE end nothing by themselves. Those that were ignored stay so.
void heedInterruptions();

// The first of these signals that came; 0 before one.
int interruption();

// Readable once a signal came, for poll; -1 while signals are not heeded.
int interruptionDescriptor();

}  // namespace skylevel
