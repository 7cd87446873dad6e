// The marks between records, shared by KTRFile's writing and reading halves.
#pragma once

#include <cstdint>

#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"

/** Bytes that introduce every record on disk. */
inline constexpr unsigned char FLAG[4] = {0xA7, 0xA6, 0xA5, 0xA4};
/** Bytes that mark a change of slice inside a reader's buffer; never on disk. */
// NOLINTNEXTLINE(bugprone-reserved-identifier): a name that hosts know
inline constexpr unsigned char _NEW_FILE_FLAG[4] = {0xB7, 0xB6, 0xB5, 0xB4};

/** The same marks as little-endian words. */
inline constexpr std::uint32_t FLAG_WORD = 0xA4A5A6A7;
inline constexpr std::uint32_t NEW_FILE_FLAG_WORD = 0xB4B5B6B7;

/** The same marks as blocks, built when the library is loaded. Any thread; never changed. */
extern KTR_API const KTDataBlock NULL_FLAG;
extern KTR_API const KTDataBlock NEW_FILE_FLAG;
