// The standard streams of a program that opens files of its own.
#pragma once

// Occupies closed standard descriptors so that nothing else is opened as 0, 1 or 2. I/O on them still fails:
// O_PATH only names a place. Returns false, with the reason in errno, when one cannot be occupied.
bool hold_standard_streams();
