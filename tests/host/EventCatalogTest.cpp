#include "host/events/EventCatalog.h"

#include "tests/host/EventFixture.h"
#include "tests/host/UsageErrors.h"

using testing::ElementsAre;

namespace {

class EventCatalogTest : public EventFixture {};

}  // namespace

TEST_F(EventCatalogTest, StoresWhatItIsGiven) {
  std::string all;
  for (int i = 0; i < 255; ++i) all += static_cast<char>(i);
  const StoredEvent full{4294967295U, NOW, 4294967295U, 2147483647U, all};
  const StoredEvent bare{0, NOW + 1, 0, 0, ""};
  catalog_.add(full);
  catalog_.add(bare);
  EXPECT_THAT(catalog_.read({}), ElementsAre(full, bare));
}

TEST_F(EventCatalogTest, AddsEqualEvents) {
  catalog_.add(event(3, NOW));
  catalog_.add(event(3, NOW));
  EXPECT_EQ(2U, catalog_.read({}).size());
}

TEST_F(EventCatalogTest, SelectsBySensorAndTime) {
  for (unsigned int time : {NOW, NOW + 10, NOW + 20}) {
    add(event(3, time));
    add(event(13, time));
  }
  EventCatalog::Query query;
  query.sensor = 3;
  EXPECT_EQ(3U, catalog_.read(query).size());
  query.from = NOW + 10;
  EXPECT_EQ(2U, catalog_.read(query).size());
  query.seconds = 10;
  EXPECT_THAT(catalog_.read(query), ElementsAre(event(3, NOW + 10)));
  query.sensor = std::nullopt;
  EXPECT_EQ(2U, catalog_.read(query).size());
}

TEST_F(EventCatalogTest, SelectsSensorZero) {
  add(event(0, NOW));
  add(event(1, NOW));
  EventCatalog::Query query;
  query.sensor = 0;
  EXPECT_THAT(catalog_.read(query), ElementsAre(event(0, NOW)));
}

TEST_F(EventCatalogTest, OrdersByTime) {
  add(event(1, NOW + 5));
  add(event(2, NOW));
  EventCatalog::Query query;
  EXPECT_THAT(catalog_.read(query), ElementsAre(event(2, NOW), event(1, NOW + 5)));
  query.newestFirst = true;
  EXPECT_THAT(catalog_.read(query), ElementsAre(event(1, NOW + 5), event(2, NOW)));
}

TEST_F(EventCatalogTest, ReadsMoreThanABatchHolds) {
  for (unsigned int i = 0; i < 600; ++i) add(event(1, NOW + i, "data"));
  EXPECT_EQ(600U, catalog_.read({}).size());
}

TEST_F(EventCatalogTest, SaysWhenAnEventIsNotStored) {
  (void)handle_->db_do_query("ALTER TABLE eventsList CHANGE eventType _type INT UNSIGNED");
  EXPECT_THAT(failureOf([&] {
                catalog_.add(event(1, NOW));
                return 0;
              }),
              testing::HasSubstr("the event was not stored"));
}

TEST_F(EventCatalogTest, SaysWhenThereIsNothingToRead) {
  EXPECT_THAT(failureOf([] { return EventCatalog("nobody").read({}); }),
              testing::HasSubstr("cannot read the events of recorder 'nobody'"));
}
