#include "host/events/StoredEvent.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

KTDataBlock block(const std::string& bytes) {
  return KTDataBlock(reinterpret_cast<const unsigned char*>(bytes.data()),
                     static_cast<unsigned int>(bytes.size()));
}

// Sensor 1, time 2, id 3 and type 5 with the top bit set.
const std::string HEAD("\1\0\0\0\2\0\0\0\3\0\0\0\5\0\0\x80", 16);

}  // namespace

TEST(StoredEventTest, ReadsTheEventsOfABatch) {
  const std::string batch = HEAD + std::string(1, '\0') + HEAD + "\2ab";
  EXPECT_THAT(StoredEvent::parseBatch(block(batch)),
              ElementsAre(StoredEvent{1, 2, 3, 5, ""}, StoredEvent{1, 2, 3, 5, "ab"}));
}

TEST(StoredEventTest, StopsWhereABatchIsCutOff) {
  const std::string whole = HEAD + "\2ab";
  for (size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THAT(StoredEvent::parseBatch(block(whole.substr(0, length))), IsEmpty()) << length;
  }
  EXPECT_EQ(1U, StoredEvent::parseBatch(block(whole + HEAD)).size());
}

TEST(StoredEventTest, BecomesARow) {
  const KTREventRow row = StoredEvent{1, 2, 3, 5, "ab"}.row();
  EXPECT_EQ(1U, row.sensorID);
  EXPECT_EQ(2U, row.timeStamp);
  EXPECT_EQ(3U, row.eventID);
  EXPECT_EQ(5U, row.eventType);
  EXPECT_EQ(2U, row.data.size);
}
