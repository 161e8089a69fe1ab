// Read by ThreadSanitizer when a program begins.

extern "C" __attribute__((visibility("default"))) const char *__tsan_default_suppressions();

const char *__tsan_default_suppressions() {
  // The Objective-C runtime sends +initialize with its lock held, and Foundation's classes take locks of their own
  // there; elsewhere they take them in the opposite order. All that reaches both here waits for the filter's turn
  // first.
  return "deadlock:libobjc.so\n"
         "deadlock:libgnustep-base.so\n"
         // Pango makes Fontconfig ready on a thread of its own, and waits for it by what the sanitizer does not see.
         // That thread may be the last to let go of a title's fonts, with what HarfBuzz has of them.
         "called_from_lib:libfontconfig.so\n"
         "race:libfontconfig.so\n"
         "race:libglib-2.0.so\n"
         "race:libharfbuzz.so\n"
         "race:libpangoft2\n"
         // Pango unlocks a mutex that Fontconfig locked.
         "mutex:libpangoft2\n"
         // FFmpeg's threads wait for one another by counters that the sanitizer does not see, and so do frames that are
         // used again once FFmpeg has given them back.
         "race:libavcodec.so\n"
         "race:libavutil.so\n"
         "race:writeComponents\n";
}
