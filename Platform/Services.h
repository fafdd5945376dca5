#pragma once

/// Installs every service that needs no Qt, where none is installed yet. Called by `main` before anything else.
void installEngineServices();

/// Installs the services that need Qt, where none are installed yet; after the application object was made. A plug-in
/// calls both, and so keeps what its host has installed.
void installPaneServices();

/// Takes a session bus that accepts callers and never answers out of this process's environment: the toolkit's
/// accessibility would wait for it for ever. Waits only where the bus is silent: for a tenth of a second, or a few
/// seconds where it is only held up. Called by `main` before the application object is made.
void leaveSilentBus();

/// Puts the bus that was left back, for whoever can wait: our own services, which find it when it answers again, and
/// the programs that are launched. The toolkit stays without. Called by `main` once the application object is made.
void returnToBus();

/// Lets the process end only while sudden termination is enabled: SIGTERM, SIGINT and SIGHUP then quit the application
/// object, on the main thread. To be called once, before any thread starts and so before the application object is made;
/// one that comes before its event loop runs is kept for it. What was ignored when the process started (nohup, a job in
/// the background) stays so. For our own programs only, never for a plug-in.
void holdBackSignals();
