#include "host/HostContext.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <sstream>

#include "host/server/PrivateServer.h"
#include "runtime/KTLogger.h"
#include "tests/host/HostTestRoot.h"
#include "tests/host/UsageErrors.h"

using testing::HasSubstr;

namespace {

class HostContextTest : public testing::Test {
 protected:
  HostContextTest() {
    options_.addDatabaseOptions(app_);
    useSharedRoot();
  }
  ~HostContextTest() override {
    context_.close();
    useSharedRoot();
    context_.open(options_, HostContext::Recording);
    for (const std::string& name : context_.recorders()) {
      (void)context_.factory().db_do_query(KTString(("DROP DATABASE ktr_" + name).c_str()));
    }
  }

  void useSharedRoot() { app_.parse("--server private --root " + HostTestRoot::shared().path()); }

  void open() { context_.open(options_, HostContext::Recording); }

  [[nodiscard]] static bool isRunning() {
    return PrivateServer(HostTestRoot::shared().paths()).process().has_value();
  }

  static RecorderName name(const char* text) { return RecorderName::parse(text); }

  CLI::App app_;
  CommonOptions options_;
  std::ostringstream out_;
  std::ostringstream err_;
  HostContext context_{out_, err_};
};

}  // namespace

TEST_F(HostContextTest, BringsServerAndFactoryUpAndDown) {
  open();
  EXPECT_TRUE(isRunning());
  EXPECT_EQ(&context_.factory(), KTR_DB_factory::instance());
  context_.close();
  EXPECT_FALSE(isRunning());
}

TEST_F(HostContextTest, MakesARecorderOnceAndFindsIt) {
  open();
  EXPECT_THAT(context_.recorders(), testing::IsEmpty());
  KTR_DB_handle& made = context_.createRecorder(name("cam2"));
  EXPECT_TRUE(made.isConnected());
  EXPECT_EQ(&made, &context_.createRecorder(name("cam2")));
  EXPECT_EQ(&made, &context_.recorder(name("cam2")));
  (void)context_.createRecorder(name("cam1"));
  EXPECT_THAT(context_.recorders(), testing::ElementsAre("cam1", "cam2"));
}

TEST_F(HostContextTest, ARecorderThatWasThereBeforeGetsItsIndexOfTimes) {
  open();
  KTString drop = "DROP INDEX idx_stream_times ON recordSessions";
  EXPECT_EQ(context_.createRecorder(name("cam")).db_do_query(drop), 0);
  context_.close();
  open();
  KTDLList<KTString> columns;
  EXPECT_EQ(context_.createRecorder(name("cam"))
                .getQueryResultList(
                    columns, "SHOW INDEX FROM recordSessions WHERE Key_name='idx_stream_times'"),
            4U);
}

TEST_F(HostContextTest, NamesTheRecordersThatExist) {
  context_.startLog(false);
  open();
  EXPECT_THAT(failureOf([&] { return &context_.recorder(name("cam")); }),
              HasSubstr("there is no recorder 'cam': record first"));
  (void)context_.createRecorder(name("cam1"));
  (void)context_.createRecorder(name("cam2"));
  EXPECT_THAT(failureOf([&] { return &context_.recorder(name("cam")); }),
              HasSubstr("there is no recorder 'cam': the recorders here are cam1, cam2"));
  EXPECT_EQ("", err_.str());
}

TEST_F(HostContextTest, WritesWhatIsPendingWhenItCloses) {
  open();
  KTRRecorderSessionRow row;
  row.start_time = row.end_time = 100;
  row.dataAvailable = 1;
  KTRRecordSessionTable* table = context_.createRecorder(name("cam")).recordSessionTable();
  const unsigned int id = table->addRow(row);
  table->updateEndTime(id, 5000, 25);
  context_.close();
  open();
  KTRRecorderSessionRow stored;
  ASSERT_TRUE(context_.recorder(name("cam")).recordSessionTable()->getRecordSessionRow(id, stored));
  EXPECT_EQ(5000U, stored.end_time);
}

TEST_F(HostContextTest, ReadingMakesNothing) {
  const HostTestRoot empty;
  app_.parse("--root " + empty.path());
  EXPECT_THAT(failureOf([&] { return context_.open(options_, HostContext::Reading), 0; }),
              HasSubstr("nothing is recorded under " + empty.path()));
  EXPECT_FALSE(std::filesystem::exists(empty.paths().directory()));
}

TEST_F(HostContextTest, SaysWhenTheClientServerCannotBeReached) {
  app_.parse("--server client --root " + HostTestRoot::shared().path());
  EXPECT_THAT(failureOf([&] { return context_.open(options_, HostContext::Recording), 0; }),
              HasSubstr("check [client] in the MySQL option files"));
}

TEST_F(HostContextTest, SendsTheLogToItsStream) {
  context_.startLog(false);
  KTLogger::instance()->log(KTLogger::Error, "%s", "broken");
  KTLogger::instance()->log(KTLogger::Information, "%s", "news");
  EXPECT_THAT(err_.str(), testing::EndsWith(" error: broken\n"));
  EXPECT_NE(nullptr, context_.log());
}
