// The drawing and window libraries keep caches for the life of the process, which the leak
// checker of the sanitizer builds would otherwise report at exit. Linked as an object into every
// program that draws (test suites and the stand-in host), since a static library would leave it
// out.
extern "C" __attribute__((visibility("default"), used)) const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig.so\nleak:libcairo.so\nleak:libX11.so\nleak:libpixman-1.so\n";
}

// FluidSynth loads a soundfont's samples on OpenMP threads. The OpenMP runtime is not built for
// ThreadSanitizer, which then sees neither its barriers nor its pool's hand-overs and reports the
// memory it passes between its threads as races of the audio render's.
extern "C" __attribute__((visibility("default"), used)) const char* __tsan_default_suppressions()
{
    return "race:libgomp.so\n";
}
