#pragma once

/**
 * Whether libav writes its own messages to standard error. They are off until someone asks for
 * them: what a person needs to know comes as a MediaError or through KTLogger. Any thread.
 */
void setMediaVerbose(bool verbose);
