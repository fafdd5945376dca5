#pragma once

#include <string>

/// The platform log: one line to standard error, with the time and the process. Any thread.
void logLine(const std::string &line);

/// Takes the place of standard error; for tests that look at what was logged. nullptr puts standard error back.
void setLogSink(void (*sink)(const std::string &line));
