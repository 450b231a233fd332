#pragma once

/// Call once, before anything is opened or printed.
/// - Opens closed standard streams on /dev/null. Otherwise a file that is opened later could get the number
/// of
///   standard output, and log lines would be written into it.
/// - Keeps this process alive if the reader of standard output ends. Child processes have the default again.
void makeStandardStreamsSafe();
