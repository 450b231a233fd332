// Nothing: the headers that test programs share are compiled with the options of this file (see
// Tests/CMakeLists.txt).
