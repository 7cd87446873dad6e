#pragma once

/** The kind of a stream, as the `streamType` columns store it: one decimal digit. */
enum streamTypes : unsigned int {
  STREAM_VIDEO = 0,
  STREAM_AUDIO = 1,
  STREAM_EVENTS = 2,
  STREAM_UNKNOWN = 3,  // a row that has not been loaded, and every cached record session
};
