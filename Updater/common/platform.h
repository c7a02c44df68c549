#pragma once

/// Tells whether files with the manifests' platform \a code are for this machine.
///
/// 6 and 7 are the processors x86_64 and arm64; 8, 10, 11 and 12 suit every machine. No other code
/// suits any, so a field that is no number, and thus reads as 0, is turned down.
bool IsPlatformSupported(int code);

constexpr bool IsGlMultiSamplingSupported()
{
    return false;
}
