// Aliases that the whole interface shares.
#pragma once

/// One code unit of wide text, which is UTF-16. Literals are u"...".
using wchar16 = char16_t;
