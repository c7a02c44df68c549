#pragma once

/// Bounds the memory that this process may still take, as a small archive can make libarchive fill
/// any amount with what it says of its files. Beyond the bound, what asks for more is refused.
void LimitMemory();
