#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * Decides whether a text may be put into a statement, as the library's statements quote nothing but
 * the data of events. What is refused could be read by the server as anything but data. A host may
 * ask first, to tell its user.
 *
 * Threads: any thread; no state.
 * Blocks: never.
 * Errors: none.
 */
class KTR_API KTRTextGuard {
 public:
  /** Where the text would stand. */
  enum Place {
    Name,      ///< the name of a database: letters, digits, _ $ - and what is not ASCII
    Quoted,    ///< between single quotes: what ends them early is escaped, no zero byte
    Condition  ///< behind a SELECT on events: a condition on their numbers, order and limit
  };

  /** The reason why text must not stand there, or null when it may. */
  [[nodiscard]] static const char* refusal(Place place, const KTString& text);
  /** Whether text may stand there; a refusal is logged. */
  [[nodiscard]] static bool allows(Place place, const KTString& text);
};
