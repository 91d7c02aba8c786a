#pragma once

/// Names the remedy on standard error when the process ends because a fixed priority was refused:
/// the exception that says so carries no text. Then, and for any other uncaught exception, the
/// runtime ends the process as ever, once, whichever thread comes first.
void explain_uncaught_exceptions();
