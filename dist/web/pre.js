// Runs inside the module before the program starts: the SDL clock, which the log prints, counts
// from the page's start instead of from 1970 until SDL itself starts.
Module.preRun = (Module.preRun || []).concat(function () {
    SDL.startTime = Date.now();
});
