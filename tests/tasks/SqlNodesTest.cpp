// The nodes of SqlNodes on real databases.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class SqlNodesTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) {
    Make("SqlNodes", type).SetParameter("Database", File("data.db"));
    MapFailed();
    return *bench_;
  }
  std::string Execute(const std::string& sql) {
    Node("SqlStatement").SetParameter("Statement", sql);
    return Do("execute") == Signals{"executed"} ? "" : Problem();
  }
  // The first column of the first row.
  std::string Ask(const std::string& sql) {
    Node("SqlQuery").SetParameter("Statement", "SELECT (" + sql + ") AS Answer");
    return Do("query") == Signals{"found"} ? bench_->TextAt("/Rows/r1/Answer") : Problem();
  }
  void SetUpImport(const std::string& csv) {
    Write("in.csv", csv);
    ASSERT_EQ(Execute("CREATE TABLE orders(id INTEGER PRIMARY KEY, amount INTEGER CHECK(typeof(amount) = 'integer'), "
                      "name TEXT NOT NULL)"),
              "");
    Node("SqlImporter").SetParameter("File", File("in.csv"));
    bench_->SetParameter("Statement", "INSERT INTO orders VALUES(:id, :amount, :name)");
    bench_->SetParameter("Rejects", File("rejects.csv"));
  }
};

TEST_F(SqlNodesTest, StatementsBindTheirValues) {
  EXPECT_EQ(Execute("CREATE TABLE t(a INTEGER, b TEXT); CREATE TABLE u(a)"), "");
  Node("SqlStatement").SetParameter("Statement", "INSERT INTO t VALUES(?, ?)");
  SetListParameter("Values", {"12", "x'); DROP TABLE t; --"});
  EXPECT_EQ(Do("execute"), Signals{"executed"});
  EXPECT_EQ(Said("Changes"), "1");
  EXPECT_EQ(Said("LastId"), "1");
  SetListParameter("Values", {"13", "-"});
  bench_->SetParameter("Null", "-");
  EXPECT_EQ(Do("execute"), Signals{"executed"});
  SetListParameter("Values", {"13"});
  EXPECT_EQ(Do("execute"), Signals{"failed"});
  EXPECT_EQ(Problem(), "the statement has 2 parameters, and Values has 1");

  Node("SqlQuery")
      .SetParameter("Statement",
                    "SELECT a, b, typeof(a) AS kind, 5000000000 AS large, x'0102' AS bytes, "
                    "0.5 AS half FROM t ORDER BY a");
  EXPECT_EQ(Do("query"), Signals{"found"});
  EXPECT_EQ(Said("Rows"), "2");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/a"), "12");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/b"), "x'); DROP TABLE t; --");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/kind"), "integer");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/large"), "5000000000");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/bytes"), "AQI=");
  EXPECT_EQ(bench_->TextAt("/Rows/r1/half"), "0.500000");
  EXPECT_FALSE(bench_->dictionary().Exists("/Rows/r2/b")) << "NULL is no entry";
  bench_->SetParameter("Statement", "SELECT a FROM t WHERE a > ?");
  SetListParameter("Values", {"100"});
  EXPECT_EQ(Do("query"), Signals{"none"});
}

TEST_F(SqlNodesTest, StatementsAreDoneAsAWhole) {
  EXPECT_EQ(Execute("CREATE TABLE t(a INTEGER UNIQUE)"), "");
  EXPECT_EQ(Execute("INSERT INTO t VALUES(1); INSERT INTO t VALUES(1)"),
            File("data.db") + ": UNIQUE constraint failed: t.a");
  EXPECT_EQ(Ask("SELECT count(*) FROM t"), "0");
}

TEST_F(SqlNodesTest, WhatCannotBeDoneSaysWhy) {
  EXPECT_EQ(Ask("SELECT 1"), File("data.db") + ": unable to open database file") << "a query makes no database";
  EXPECT_EQ(Execute(""), "no Statement is given");
  EXPECT_THAT(Execute("SELEKT 1"), HasSubstr("syntax error"));
  Node("SqlQuery").SetParameter("Statement", "CREATE TABLE t(a)");
  EXPECT_EQ(Do("query"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("attempt to write a readonly database"));
  bench_->SetParameter("Statement", "SELECT 1; SELECT 2");
  EXPECT_EQ(Do("query"), Signals{"failed"});
  EXPECT_EQ(Problem(), "there is more than one statement");
  bench_->SetParameter("Statement", "SELECT 1 AS 'a b'");
  EXPECT_EQ(Do("query"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("no entry can have the name \"a b\""));
  bench_->SetParameter("Statement", "SELECT 1 UNION SELECT 2");
  bench_->SetParameter("Most", 1);
  EXPECT_EQ(Do("query"), Signals{"failed"});
  EXPECT_EQ(Problem(), "there are more than 1 rows");
  Write("data.db", std::string(10000, 'x'));
  EXPECT_THAT(Execute("CREATE TABLE t(a)"), HasSubstr("file is not a database"));
}

TEST_F(SqlNodesTest, AStatementWithoutEndIsStopped) {
  EXPECT_EQ(Execute("CREATE TABLE t(a)"), "");
  Node("SqlQuery")
      .SetParameter("Statement",
                    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) AS c FROM n");
  bench_->Signal("query");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_EQ(bench_->TakeFired(), Signals{});
  EXPECT_EQ(bench_->TakeMessages(), Signals{});
}

TEST_F(SqlNodesTest, AnImportSetsRowsAsideThatAreRefused) {
  SetUpImport("name,id,amount\na,1,10\nb,1,20\nc,2,many\nd,3\ne,4,40\n\"f\"x,5,1\n");
  EXPECT_EQ(Do("import"), Signals{"imported"}) << Problem();
  EXPECT_EQ(Said("Rows"), "2");
  EXPECT_EQ(Said("Rejected"), "4");
  EXPECT_EQ(Read("rejects.csv"),
            "3,UNIQUE constraint failed: orders.id,\"b,1,20\"\n"
            "4,CHECK constraint failed: typeof(amount) = 'integer',\"c,2,many\"\n"
            "5,2 fields instead of 3,\"d,3\"\n"
            "7,there is text behind a closing quote,\"\"\"f\"\"x,5,1\"\n");
  EXPECT_EQ(Do("import"), Signals{"imported"});
  EXPECT_EQ(Said("Rows"), "2") << "each row once";
  EXPECT_EQ(Ask("SELECT sum(amount) FROM orders"), "50");
}

TEST_F(SqlNodesTest, WithoutAPlaceForThemARowFailsTheImport) {
  SetUpImport("name,id,amount\na,1,10\nb,1,20\n");
  bench_->SetParameter("Rejects", "");
  EXPECT_EQ(Do("import"), Signals{"failed"});
  EXPECT_EQ(Problem(), "line 3: UNIQUE constraint failed: orders.id (Rejects sets such rows aside)");
  EXPECT_EQ(Ask("SELECT count(*) FROM orders"), "0") << "what was not committed is undone";
  Node("SqlImporter").SetParameter("File", File("in.csv"));
  bench_->SetParameter("Statement", "INSERT INTO orders VALUES(:id, :price, :name)");
  EXPECT_EQ(Do("import"), Signals{"failed"});
  EXPECT_EQ(Problem(), "the file has no column for the statement's parameter :price");
}

// Stopped, and killed: the state then is an old one, and the database is ahead of it.
TEST_F(SqlNodesTest, EachRowIsImportedOnceHoweverOftenItIsInterrupted) {
  std::string csv = "id,amount,name\n";
  for (int i = 1; i <= 4000; ++i) {
    csv += std::to_string(i) + (i % 1000 == 0 ? ",many,x\n" : ",1,\"a\nb\"\n");
  }
  SetUpImport(csv);
  bench_->SetParameter("RowsPerCommit", 20);
  std::string signal = "import";
  const std::string old_state = bench_->SaveState();
  int interruptions = 0;
  for (; interruptions < 400; ++interruptions) {
    bench_->Signal(signal);
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + interruptions));
    if (interruptions % 3 == 2) {
      if (!bench_->TakeFired().empty()) break;
      bench_->Kill(old_state);
      signal = "import";
    } else {
      signal = bench_->Stop();
      if (signal.empty()) break;
    }
  }
  EXPECT_GT(interruptions, 3);
  EXPECT_EQ(Ask("SELECT count(*) || ' ' || sum(amount) FROM orders"), "3996 3996");
  const std::string rejects = Read("rejects.csv");
  EXPECT_EQ(std::count(rejects.begin(), rejects.end(), '\n'), 4);
  EXPECT_THAT(rejects,
              ::testing::EndsWith("\n7997,CHECK constraint failed: typeof(amount) = 'integer',\"4000,many,x\"\n"));
}

}  // namespace
}  // namespace orv_test
