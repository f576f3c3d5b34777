// Where the records of the data files come from.
#include <gtest/gtest.h>

#include <string>

#include "model_support.h"
#include "partlist.h"
#include "process.h"
#include "prodinfo.h"
#include "recipe.h"
#include "settings.h"

namespace {

std::string At(const WH_PLACE* place) {
  if (!place) return "nowhere";
  return std::to_string(place->line) + ":" + std::to_string(place->column);
}

template <class T>
T* At(const FwVector& vector, int32 i) {
  return static_cast<T*>(FwVectorGetElement(const_cast<FwVector*>(&vector), i));
}

// The variables of all alternatives.
std::string Variables(const WH_PATTERN* pattern) {
  std::string places;
  for (; pattern; pattern = pattern->next)
    for (const WH_VAR* var = pattern->vars; var; var = var->next)
      places += " " + At(var->place);
  return places;
}

const char kSettings[] =
    "<ENV-SETTINGS>\n"
    "<ENV-GROUP><PATTERN><MATCH><VAR n='a' v='b'/>\n"
    "  <VAR n='c' v='d'/></MATCH></PATTERN>\n"
    "\t<ENV-INSERT><NAME>N</NAME><VALUE>V</VALUE></ENV-INSERT>"
    "<ENV-REMOVE><NAME>N</NAME></ENV-REMOVE>\n"
    "<!-- \u00e9\u00e9 --><ENV-DELETE>\nN</ENV-DELETE></ENV-GROUP></ENV-SETTINGS>\n";

std::string Places(const WH_ENV_SETTINGS* settings) {
  const auto* group = At<WH_ENV_GROUP>(settings->groups, 0);
  std::string places = "vars" + Variables(group->pattern) + " ops";
  for (int32 i = 0; i < FwVectorLength(const_cast<FwVector*>(&group->ops)); ++i)
    places += " " + At(At<WH_ENV_OP>(group->ops, i)->place);
  return places;
}

TEST(Places, OperationsAndVariablesOfSettingsTellWhereTheirElementsBegin) {
  TemporaryTree tree;
  const std::string file = tree.Write("env.xml", kSettings);
  Error err;
  WH_ENV_SETTINGS* settings = read_env_settings(&err, Text(file), WH_XML_PF_PLACES);
  ASSERT_NE(nullptr, settings);
  // Columns count characters: the two in the comment are of two bytes each.
  EXPECT_EQ("vars 2:28 3:3 ops 4:2 4:57 5:12", Places(settings));
  const auto* op = At<WH_ENV_OP>(At<WH_ENV_GROUP>(settings->groups, 0)->ops, 2);
  EXPECT_EQ(file, FWC(op->place->file));
  free_env_settings(&settings);
}

TEST(Places, NothingIsStoredUnlessItIsAskedFor) {
  TemporaryTree tree;
  const std::string file = tree.Write("env.xml", kSettings);
  Error err;
  WH_ENV_SETTINGS* settings = read_env_settings(&err, Text(file), WH_XML_PF_ALL_CHECKS);
  ASSERT_NE(nullptr, settings);
  EXPECT_EQ("vars nowhere nowhere ops nowhere nowhere nowhere", Places(settings));
  EXPECT_EQ(nullptr, settings->places);
  free_env_settings(&settings);
}

TEST(Places, AnExpandedOperationKeepsItsPlace) {
  TemporaryTree tree;
  Error err;
  WH_ENV_SETTINGS* settings =
      read_env_settings(&err, Text(tree.Write("env.xml", kSettings)), WH_XML_PF_PLACES);
  ASSERT_NE(nullptr, settings);
  auto* op = At<WH_ENV_OP>(At<WH_ENV_GROUP>(settings->groups, 0)->ops, 0);
  WH_SYMTAB* symtab = make_symtab(FWT("source"));
  WH_ENV_OP* expanded = wh_expand_env_op(&err, op, symtab);
  EXPECT_EQ(op->place, expanded->place);
  free_env_op(&expanded);
  free_symtab(&symtab);
  free_env_settings(&settings);
}

TEST(Places, PartsTellWhereTheyAreNamed) {
  TemporaryTree tree;
  const std::string file =
      tree.Write("partlist.xml",
                 "<?xml version='1.0'?>\n<PARTLIST><PARTSPEC><PATTERN/><PARTS>\n"
                 " <FILE name='f'/>\n  <PRODUCT name='n'><PATTERN>\n<MATCH><VAR n='a' v='b'/>"
                 "</MATCH></PATTERN></PRODUCT></PARTS></PARTSPEC></PARTLIST>\n");
  Error err;
  WH_PARTLIST* partlist = read_partlist(&err, Text(file), WH_XML_PF_PLACES);
  ASSERT_NE(nullptr, partlist);
  const WH_PART* part = partlist->partspecs->parts;
  EXPECT_EQ("3:2", At(part->place));
  EXPECT_EQ("4:3", At(part->next->place));
  EXPECT_EQ(" 5:8", Variables(part->next->u.product->pattern));
  EXPECT_EQ(file, FWC(part->place->file));
  free_partlist(&partlist);
}

TEST(Places, VarietiesAndTheirVariablesTellWhereTheyStand) {
  TemporaryTree tree;
  const std::string file =
      tree.Write("c/n/1/0/product.xml",
                 "<PRODUCT-INFO><VARIETIES>\n<VARIETY name='v'>\n  <VAR n='a' v='b'/></VARIETY>\n"
                 "   <VARIETY/></VARIETIES></PRODUCT-INFO>\n");
  Error err;
  WH_PRODUCT_NAME* name = Prodname("c", "n", "1", "0");
  WH_PRODUCT_INFO* info = read_prodinfo(&err, name, Text(tree.path()), 0, WH_XML_PF_PLACES);
  ASSERT_NE(nullptr, info);
  const auto* first = At<WH_VARIETY>(info->varieties->seq, 0);
  EXPECT_EQ("2:1", At(first->place));
  EXPECT_EQ("3:3", At(first->vars->place));
  EXPECT_EQ("4:4", At(At<WH_VARIETY>(info->varieties->seq, 1)->place));
  EXPECT_EQ(file, FWC(first->place->file));
  free_prodinfo(&info);
  free_prodname(&name);
}

TEST(Places, CommandsOfRecipesTellWhereTheyStand) {
  TemporaryTree tree;
  const std::string file =
      tree.Write("setup.xml",
                 "<RECIPE><STEP><PATTERN><MATCH><VAR n='a' v='b'/></MATCH></PATTERN>\n"
                 "<SETENV name='N' value='V'/>\n <CREATE><DATA file='f'>x</DATA></CREATE>\n"
                 "  <CMD>true</CMD></STEP></RECIPE>\n");
  Error err;
  WH_RECIPE* recipe = read_recipe(&err, Text(file), WH_XML_PF_PLACES);
  ASSERT_NE(nullptr, recipe);
  const auto* step = At<WH_STEP>(recipe->steps, 0);
  EXPECT_EQ(" 1:31", Variables(step->pattern));
  EXPECT_EQ("2:1", At(At<WH_COMMAND>(step->commands, 0)->place));
  EXPECT_EQ("3:2", At(At<WH_COMMAND>(step->commands, 1)->place));
  EXPECT_EQ("4:3", At(At<WH_COMMAND>(step->commands, 2)->place));
  EXPECT_EQ(file, FWC(At<WH_COMMAND>(step->commands, 0)->place->file));
  free_recipe(&recipe);
}

// Far behind the parser's first block, and in a file that then turns out to be no good.
TEST(Places, ALongFileIsCountedToItsEndAndABrokenOneLeavesNothing) {
  std::string content = "<ENV-SETTINGS><ENV-GROUP><PATTERN/>\n";
  for (int i = 0; i < 300; ++i)
    content += " <ENV-REMOVE><NAME>N</NAME></ENV-REMOVE>\n";
  TemporaryTree tree;
  const std::string whole = tree.Write("env.xml", content + "</ENV-GROUP></ENV-SETTINGS>");
  Error err;
  WH_ENV_SETTINGS* settings = read_env_settings(&err, Text(whole), WH_XML_PF_PLACES);
  ASSERT_NE(nullptr, settings);
  const auto* group = At<WH_ENV_GROUP>(settings->groups, 0);
  for (int32 i = 0; i < 300; ++i)
    ASSERT_EQ(std::to_string(i + 2) + ":2", At(At<WH_ENV_OP>(group->ops, i)->place));
  free_env_settings(&settings);
  EXPECT_EQ(nullptr,
            read_env_settings(&err, Text(tree.Write("unenv.xml", content)), WH_XML_PF_PLACES));
}

}  // namespace
