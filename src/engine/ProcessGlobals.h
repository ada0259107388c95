#pragma once

// Drops every process-wide object of the engine, so that a test starts from a fresh process.
void ResetProcessGlobals();
