// Read by LeakSanitizer when a program begins.

extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions();

const char *__lsan_default_suppressions() {
  // Objects that these libraries keep for the life of the process; and the filter's allocation at load, which the first
  // surface replaces.
  return "leak:libgnustep-base\n"
         "leak:libgnustep-gui\n"
         "leak:libobjc\n"
         "leak:libfontconfig\n"
         "leak:OffscreenSurface.cpp\n";
}
