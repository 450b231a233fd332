/// GNUstep's classes keep some 10 kB for as long as the program runs.
/// The leak sanitizer asks by this name.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" int __lsan_is_turned_off() {
    return 1;
}
