// What sessions have from settings and from what was saved.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>

#include "zor.h"

namespace {

// Sessions in a plain shell, with the settings of a user of their own.
struct Desk : Warehouse {
  Desk() {
    Product("tools/loom/1.9/1", Insert("LOOM", "1.9"));
    Product("tools/loom/1.10/1", Insert("LOOM", "1.10"));
    Product("tools/wheel/1/1", Insert("WHEEL", "1"));
    Product("tools/loud/1/1", Insert("LOOM", "loud"));
  }
  std::string Saved(const std::string& name) const {
    return *this / "config/zor/saved/" + name + ".lock";
  }
  RunResult Run(const std::string& script, std::vector<std::string> more = {}) const {
    const std::string function =
        "zor() {\n"
        "  case $1 in\n"
        "    load | unload | swap | purge | reload | undo | restore)\n"
        "      script=$(\"$ZOR\" --shell sh \"$@\") && eval \"$script\" ;;\n"
        "    *) \"$ZOR\" \"$@\" ;;\n"
        "  esac\n"
        "}\n";
    for (const std::string& text :
         {"ZORROOT=" + Root(), "ZOR_SYSTEM_CONFIG=" + (*this / "system.toml"),
          "XDG_CONFIG_HOME=" + (*this / "config"), std::string("ZOR=") + ZOR_PROGRAM})
      more.push_back(text);
    RunOptions options;
    options.environment = PlainEnvironment(std::move(more));
    return RunProgram({"/bin/sh", "-c", function + script}, options);
  }
};

TEST(Saved, IsRestoredWithTheVersionsThatItHad) {
  Desk desk;
  Expect(desk.Run("zor load loom/1.9 // wheel; zor save weaving; zor save other; zor save"),
         "other\nweaving\n", "", 0);
  Expect(desk.Run("zor load loud; zor restore weaving; echo $LOOM $WHEEL; zor list"),
         "1.9 1\ntools/loom/1.9/1\n//\ntools/wheel/1/1\n", "", 0);
  // What was open when it was saved stays what it was then.
  Expect(desk.Run("zor load loom; zor save latest"), "", "", 0);
  desk.Product("tools/loom/2/1", Insert("LOOM", "2"));
  Expect(desk.Run("zor restore latest; echo $LOOM; zor load wheel; zor purge; echo $LOOM-"),
         "1.10\n-\n", "", 0);
  Expect(desk.Run("zor restore weaving; zor undo; echo $LOOM-$ZOR_SESSION-"), "--\n", "", 0);
}

TEST(Saved, StandsForItsProductsInRequests) {
  const Desk desk;
  Expect(desk.Run("zor load loom/1.9 // wheel; zor save weaving"), "", "", 0);
  Expect(desk.Run("zor exec @weaving -- sh -c 'echo $LOOM $WHEEL'"), "1.9 1\n", "", 0);
  // The group that overrides comes along.
  Expect(desk.Run("zor load wheel // loom/1.9 // loud; zor save loud; zor exec @loud -- sh -c "
                  "'echo $LOOM'"),
         "1.9:loud\n", "", 0);
  // It goes before a set of the settings.
  desk.Write("root/zor.toml", "[sets]\nweaving = ['loom']\nothers = ['loom']\n");
  Expect(desk.Run("zor exec @weaving -- sh -c 'echo $LOOM'"), "1.9\n", "", 0);
  Expect(desk.Run("zor exec @others -- sh -c 'echo $LOOM'"), "1.10\n", "", 0);
}

TEST(Saved, TellsWhatHasChangedSince) {
  Desk desk;
  Expect(desk.Run("zor load loom/1.9; zor save weaving"), "", "", 0);
  desk.File("tools/loom/1.9/1", "env.xml", EnvXml(Insert("LOOM", "mended")));
  Expect(desk.Run("zor exec @weaving -- sh -c 'echo $LOOM'"), "mended\n",
         "zor: @weaving: since it was saved, changed: tools/loom/1.9/1/env.xml\n", 0);
  Expect(desk.Run("zor restore weaving; echo $LOOM"), "mended\n",
         "zor: since weaving was saved, changed: tools/loom/1.9/1/env.xml\n", 0);
  Expect(desk.Run("zor env --locked " + desk.Saved("weaving")), "",
         "zor: " + desk.Saved("weaving") + " does not hold any more in " + desk.Root() +
             ":\n  changed: tools/loom/1.9/1/env.xml\n",
         1);
}

TEST(Saved, NamesAreThoseOfFiles) {
  const Desk desk;
  for (const std::string name : {"a/b", ".a"}) {
    const std::string told = "zor: '" + name +
                             "' can't be the name of a saved set: it must hold no slash and not "
                             "begin with a dot\n";
    Expect(desk.Run("zor load wheel; zor save " + name), "", told, 2);
    Expect(desk.Run("zor restore " + name), "", told, 2);
  }
  Expect(desk.Run("zor save wheel"), "", "zor: nothing is loaded, so there is nothing to save\n",
         1);
  Expect(desk.Run("zor load wheel; zor save wheel; zor restore whel"), "",
         "zor: nothing was saved as whel; did you mean wheel?\n", 1);
  Expect(desk.Run("zor restore qqq"), "",
         "zor: nothing was saved as qqq; zor save lists what was\n", 1);
}

TEST(Saved, NeedsANameAndAPlace) {
  const Desk desk;
  const std::string nowhere = "zor: neither HOME nor XDG_CONFIG_HOME says where sets are saved\n";
  Expect(desk.Run("zor restore"), "", "zor: say which; zor save lists what was saved\n", 2);
  Expect(desk.Run("zor env @"), "",
         "zor: '' can't be the name of a saved set: it must hold no slash and not begin with a "
         "dot\n",
         2);
  Expect(desk.Run("zor load wheel; unset XDG_CONFIG_HOME; zor save wheel"), "", nowhere, 1);
  // A directory that depends on where one is counts as none.
  for (const char* none :
       {"unset HOME; XDG_CONFIG_HOME=", "export HOME=; XDG_CONFIG_HOME=config"}) {
    SCOPED_TRACE(none);
    Expect(desk.Run(std::string(none) + "; zor save wheel"), "", nowhere, 1);
    Expect(desk.Run(std::string(none) + "; zor restore wheel"), "", nowhere, 1);
    Expect(desk.Run(std::string(none) + "; zor env @wheel"), "", "zor: there is no set @wheel\n",
           1);
  }
  Expect(desk.Run("unset XDG_CONFIG_HOME; export HOME=" + (desk / "home") +
                  "; zor load wheel; zor save set; zor save"),
         "set\n", "", 0);
  EXPECT_NE("", ReadFile(desk / "home/.config/zor/saved/set.lock"));
  // What else lies there is not listed.
  desk.Write("home/.config/zor/saved/set.lock~", "");
  desk.Write("home/.config/zor/saved/.lock", "");
  Expect(desk.Run("unset XDG_CONFIG_HOME; export HOME=" + (desk / "home") + "; zor save"), "set\n",
         "", 0);
}

TEST(Saved, IsOfAWarehouseAndOfADirection) {
  Desk desk;
  desk.Undo("tools/wheel/1/1", Insert("WHEEL", "undone"));
  const RunResult lock = desk.Run("zor lock -u -p tools wheel");
  desk.Write("config/zor/saved/undone.lock", lock.out);
  Expect(desk.Run("zor env @undone"), "WHEEL='undone'; export WHEEL;\n", "", 0);
  // Where nothing names a warehouse, it is the one from which it was saved.
  Expect(desk.Run("unset ZORROOT; zor env @undone"), "WHEEL='undone'; export WHEEL;\n", "", 0);
}

TEST(Saved, AFailureLeavesWhatWasSavedBefore) {
  const Desk desk;
  Expect(desk.Run("zor load wheel; zor save set"), "", "", 0);
  const std::string before = ReadFile(desk.Saved("set"));
  // No file can be made or written any more.
  const RunResult result = desk.Run("zor load loom; ulimit -f 0; trap '' XFSZ; zor save set");
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("zor: " + desk.Saved("set") + ": File too large\n", result.err);
  EXPECT_EQ(before, ReadFile(desk.Saved("set")));
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(desk / "config/zor/saved"))
    files += entry.is_regular_file();
  EXPECT_EQ(1, files);
}

TEST(Saved, WhatCanNotBeWrittenLeavesNothingBehind) {
  const Desk desk;
  desk.Directory("config/zor/saved/taken.lock");
  Expect(desk.Run("zor load wheel; zor save taken"), "",
         "zor: " + desk.Saved("taken") + ": Is a directory\n", 1);
  // With the letters behind it that make it one of its own.
  const std::string longest(250, 'x');
  Expect(desk.Run("zor load wheel; zor save " + longest), "",
         "zor: " + desk.Saved(longest) + ": File name too long\n", 1);
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(desk / "config/zor/saved"))
    files += entry.is_regular_file();
  EXPECT_EQ(0, files);
}

TEST(Defaults, AreWhatLoadAloneLoads) {
  const Desk desk;
  Expect(desk.Run("zor load"), "", "zor: say which product, as in: zor load tools/weaver\n", 2);
  desk.Write("root/zor.toml", "default = ['@own', 'wheel']\n[sets]\nown = ['loom/1.9']\n");
  Expect(desk.Run("zor load; echo $LOOM $WHEEL"), "1.9 1\n", "", 0);
  desk.Write("config/zor/zor.toml", "default = ['loud']\n");
  Expect(desk.Run("zor load; echo $LOOM $WHEEL"), "loud\n", "", 0);
}

TEST(Defaults, ABrokenOneIsAFaultUnlessItIsToBeLeftOut) {
  Desk desk;
  desk.File("tools/broken/1/1", "product.xml", "<NO/>");
  const std::string fault = desk.Root() +
                            "/tools/broken/1/1/product.xml:1:1: the root is NO; the root of a "
                            "product.xml is PRODUCT-INFO "
                            "or VARIETIES\n";
  const std::string list = "default = ['wheel', 'tools/broken', 'tools/none', 'loom']\n";
  desk.Write("root/zor.toml", list);
  const RunResult whole = desk.Run("zor load; echo $WHEEL-$LOOM");
  EXPECT_EQ("-\n", whole.out);
  EXPECT_NE("", whole.err);
  desk.Write("root/zor.toml", "skip-broken-defaults = true\n" + list);
  Expect(desk.Run("zor load; echo $WHEEL-$LOOM"), "1-1.10\n",
         "zor: tools/broken, a default, is left out: " + fault +
             "zor: tools/none, a default, is left out: there is no product tools/none in " +
             desk.Root() + "\ndid you mean tools/loom or tools/loud?\n",
         0);
}

TEST(Deprecated, ProductsAreToldOfWhenTheyAreLoaded) {
  const Desk desk;
  desk.Write("root/zor.toml",
             "[[deprecated]]\nproduct = 'tools/loom/1.9'\nrefuse-from = 2027-03-01\n");
  Expect(desk.Run("zor load loom/1.9; echo $LOOM", {"ZOR_TODAY=2027-02-28"}), "1.9\n",
         "zor: tools/loom/1.9/1 is deprecated\n", 0);
  Expect(desk.Run("zor load loom/1.9; echo $LOOM-", {"ZOR_TODAY=2027-03-01"}), "-\n",
         "zor: tools/loom/1.9/1 is refused since 2027-03-01\n", 0);
  Expect(desk.Run("zor load loom; zor swap loom/1.9; echo $LOOM", {"ZOR_TODAY=2027-03-01"}),
         "1.10\n", "zor: tools/loom/1.9/1 is refused since 2027-03-01\n", 0);
}

TEST(News, AreShownOnce) {
  const Desk desk;
  desk.Write("root/zor.toml",
             "[[news]]\nid = 'move'\ntext = 'We move.'\nfrom = 2027-01-10\nuntil = 2027-01-20\n"
             "[[news]]\nid = 'always'\ntext = 'Be kind.'\n");
  const std::string state = "XDG_STATE_HOME=" + (desk / "state");
  const auto load = [&](const std::string& day) {
    return desk.Run("zor load loom/1.9; echo $LOOM", {"ZOR_TODAY=" + day, state});
  };
  Expect(load("2027-01-09"), "1.9\n", "zor: Be kind.\n", 0);
  Expect(load("2027-01-09"), "1.9\n", "", 0);
  Expect(load("2027-01-21"), "1.9\n", "", 0);
  Expect(load("2027-01-20"), "1.9\n", "zor: We move.\n", 0);
  Expect(load("2027-01-10"), "1.9\n", "", 0);
  EXPECT_EQ("always\nmove\n", ReadFile(desk / "state/zor/news"));
  // Where that can't be noted they come again, and nothing fails.
  desk.Write("file", "");
  for (int i = 0; i < 2; ++i)
    Expect(desk.Run("zor load loom/1.9; echo $LOOM",
                    {"ZOR_TODAY=2027-01-10", "XDG_STATE_HOME=" + (desk / "file")}),
           "1.9\n", "zor: We move.\nzor: Be kind.\n", 0);
}

TEST(News, AreRememberedInTheHomeDirectoryOrNotAtAll) {
  const Desk desk;
  desk.Write("root/zor.toml", "[[news]]\nid = 'always'\ntext = 'Be kind.'\n");
  const std::string load = "; zor load loom/1.9; echo $LOOM";
  const auto expect = [&](const std::string& place, const std::string& told) {
    SCOPED_TRACE(place);
    Expect(desk.Run(place + load), "1.9\n", told, 0);
  };
  const std::string told = "zor: Be kind.\n";
  const std::string home = "export HOME=" + (desk / "home");
  expect(home, told);
  expect(home, "");
  EXPECT_EQ("always\n", ReadFile(desk / "home/.local/state/zor/news"));
  // A relative directory is none.
  expect(home + " XDG_STATE_HOME=state", "");
  for (const char* none : {"unset HOME", "export HOME="})
    for (int i = 0; i < 2; ++i)
      expect(none, told);
}

// The line of a log without what differs from host to host.
std::string Logged(const std::string& line) {
  const std::size_t host = line.find("\"time\":\"");
  const std::size_t command = line.find("\"command\"");
  return host == std::string::npos || command == std::string::npos
             ? line
             : line.substr(0, host) + line.substr(command);
}

TEST(Log, TakesLoadsInAFileAndByAProgram) {
  const Desk desk;
  const std::string program = desk.Write("program", "#!/bin/sh\ncat >$1.part; mv $1.part $1\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  desk.Write("root/zor.toml", "[log]\nfile = '" + (desk / "log") + "'\nprogram = ['" + program +
                                  "', '" + (desk / "taken") + "']\n");
  Expect(desk.Run("zor load loom wheel; zor swap loom/1.9; for i in 1 2 3 4 5 6 7 8 9; do "
                  "[ -f " +
                  (desk / "taken") + " ] || sleep 0.2; done"),
         "", "", 0);
  const auto line = [&](const std::string& command, const std::string& products) {
    return "{\"version\":1,\"command\":\"" + command + "\",\"root\":\"" + desk.Root() +
           "\",\"products\":[" + products + "]}\n";
  };
  const std::string log = ReadFile(desk / "log");
  const std::size_t end = log.find('\n') + 1;
  EXPECT_EQ(line("load", "\"tools/loom/1.10/1\",\"tools/wheel/1/1\""), Logged(log.substr(0, end)));
  EXPECT_EQ(line("swap", "\"tools/loom/1.9/1\""), Logged(log.substr(end)));
  EXPECT_EQ(0u, ReadFile(desk / "taken").find("{\"version\":1,\"time\":\""));
}

TEST(Log, NeverFailsAndNeverWaits) {
  const Desk desk;
  ASSERT_EQ(0, mkfifo((desk / "pipe").c_str(), 0600));
  for (const std::string& where :
       {"file = '" + (desk / "pipe") + "'", "file = '" + (desk / "none/log") + "'",
        std::string("file = '/dev/full'"), std::string("program = ['/none']"),
        std::string("program = ['/bin/sleep', '20']"), std::string("program = []"),
        std::string("file = ''"), std::string("syslog = true")}) {
    SCOPED_TRACE(where);
    desk.Write("root/zor.toml", "[log]\n" + where + "\n");
    Expect(desk.Run("zor load loom/1.9; echo $LOOM", {"ZOR_SYSLOG=" + (desk / "pipe")}), "1.9\n",
           "", 0);
  }
}

TEST(Log, GoesToTheSystemsLog) {
  const Desk desk;
  const std::string path = desk / "s";
  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  path.copy(address.sun_path, path.size());
  ASSERT_EQ(0, bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  desk.Write("root/zor.toml", "[log]\nsyslog = true\n");
  Expect(desk.Run("zor load loom/1.9; echo $LOOM", {"ZOR_SYSLOG=" + path}), "1.9\n", "", 0);
  char text[4096];
  const ssize_t size = recv(log, text, sizeof text, 0);
  close(log);
  ASSERT_GT(size, 0);
  EXPECT_EQ("<14>zor: {\"version\":1,\"command\":\"load\",\"root\":\"" + desk.Root() +
                "\",\"products\":[\"tools/loom/1.9/1\"]}",
            Logged(std::string(text, static_cast<std::size_t>(size))));
}

TEST(Sessions, GiveJson) {
  const Desk desk;
  ExpectValid(desk.Run("zor list --json").out, "list");
  ExpectValid(desk.Run("zor load loom/1.9 // wheel; zor list --json").out, "list");
  ExpectValid(desk.Run("zor set --json").out, "set");
  ExpectValid(desk.Run("zor status --json").out, "status");
  const RunResult status = desk.Run(
      "zor load loom/1.9; LOOM=a:$LOOM:b; PATH=$PATH:/none\n"
      "echo '<NO/>' >$ZORROOT/tools/loom/1.9/1/unenv.xml; zor status --json");
  ExpectValid(status.out, "status");
  EXPECT_NE(std::string::npos, status.out.find("\"change\": \"new\"")) << status.out;
}

}  // namespace
