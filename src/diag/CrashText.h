// What crashes are called.
#pragma once

/// Returns the text of an exception code, null when it has none of its own. Takes no memory and no
/// lock.
const char* crashText(int code);
