#pragma once

/// To be called once, before anything is opened or printed:
/// - Whichever of standard input, output and error is closed is opened on /dev/null, so that no file that is
///   opened later can take its number and get log lines written into it.
/// - A reader of standard output that goes away does not end this process half way through a run. Child
///   processes start with the default again.
void makeStandardStreamsSafe();
