// Read by LeakSanitizer when a program begins.

#define PYRELUX_EXPORTED extern "C" __attribute__((visibility("default")))

PYRELUX_EXPORTED const char *__lsan_default_suppressions();
PYRELUX_EXPORTED const char *__lsan_default_options();

const char *__lsan_default_suppressions() {
  // Objects that these libraries keep for the life of the process, libx265 a kilobyte of every encoder; and the
  // filter's allocation at load, which the first surface replaces.
  return "leak:libgnustep-base\n"
         "leak:libgnustep-gui\n"
         "leak:libobjc\n"
         "leak:libfontconfig\n"
         "leak:libx265\n"
         "leak:OffscreenSurface.cpp\n";
}

// Programs are tested for what they write to standard error, too.
const char *__lsan_default_options() { return "print_suppressions=0"; }
