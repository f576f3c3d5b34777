// The index of a product's varieties, against trying each variety.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "model_support.h"
#include "warehouse/private.h"

namespace {

using Strings = std::vector<std::string>;

class ProductVarieties : public testing::Test {
 protected:
  ProductVarieties() { Start(); }

  void Start() {
    product_ = make<WH_PRODUCT>();
    product_->prodinfo = make<WH_PRODUCT_INFO>();
    product_->prodinfo->varieties = make_variety_seq();
  }
  ~ProductVarieties() override { free_product(&product_); }

  void Add(const Pairs& vars) {
    auto* variety = make<WH_VARIETY>();
    WH_VAR** tail = &variety->vars;
    for (const auto& [n, v] : vars) {
      Text name(n), value(v);
      *tail = make_var(n.empty() ? nullptr : static_cast<FwTextString>(name),
                       v == "(null)" ? nullptr : static_cast<FwTextString>(value));
      tail = &(*tail)->next;
    }
    add_variety(product_->prodinfo->varieties, variety);
  }

  // The places of the varieties found.
  std::vector<int> Places(WH_VARIETY_SEQ* found) {
    std::vector<int> places;
    FwVector* all = &product_->prodinfo->varieties->seq;
    for (int i = 0; i < FwVectorLength(&found->seq); ++i)
      for (int j = 0; j < FwVectorLength(all); ++j)
        if (FwVectorGetElement(&found->seq, i) == FwVectorGetElement(all, j)) places.push_back(j);
    free_variety_seq(&found);
    return places;
  }

  std::vector<int> Indexed(WH_PATTERN* pattern) {
    WH_VARIETY_SEQ* found = make_variety_seq();
    add_product_varieties(found, product_, pattern);
    return Places(found);
  }

  std::vector<int> Plain(WH_PATTERN* pattern) {
    return Places(matching_varieties(product_->prodinfo->varieties, pattern, nullptr));
  }

  WH_PRODUCT* product_;
};

TEST_F(ProductVarieties, AreThoseThatMatchOneByOne) {
  const Strings names = {"num", "kind", "platform", "target", "a", "b", "c", "d", "e", "f", "g"};
  const Strings values = {"1",        "2", "3", "4",   "5",   "/1",  "1/",     "a/b",
                          "a//b",     "",  "*", "1|x", "1,2", "1,*", "(null)", "linux-x86_64",
                          "unix-all", "?"};
  std::mt19937 random(2);
  auto below = [&](size_t n) { return random() % n; };
  for (int round = 0; round < 10; ++round) {
    // Half the rounds begin anew. In the others varieties come behind the index, which makes it
    // useless, not wrong.
    if (round % 2 == 0) {
      free_product(&product_);
      Start();
    }
    for (int i = 0; i < 40; ++i) {
      Pairs vars;
      for (size_t n = below(4); vars.size() < n;)
        vars.emplace_back(below(20) ? names[below(below(2) ? 2 : names.size())] : "",
                          values[below(values.size())]);
      Add(vars);
    }
    for (int query = 0; query < 60; ++query) {
      WH_PATTERN* pattern = nullptr;
      for (size_t alternatives = below(3); alternatives > 0; --alternatives) {
        pattern = Alternative({}, nullptr, pattern);
        WH_VAR** tail = &pattern->vars;
        for (size_t n = below(3); n > 0; --n) {
          Text name(names[below(below(2) ? 2 : names.size())]);
          const std::string chosen = values[below(values.size())];
          Text value(chosen);
          *tail = make_var(name, chosen == "(null)" ? nullptr : static_cast<FwTextString>(value));
          tail = &(*tail)->next;
        }
      }
      EXPECT_EQ(Plain(pattern), Indexed(pattern)) << "round " << round << " query " << query;
      free_pattern(&pattern);
    }
  }
}

TEST_F(ProductVarieties, WithALiteralValueOnlyThoseThatCanMatchAreTried) {
  for (int i = 0; i < 1000; ++i)
    Add({{"num", std::to_string(i)}, {"kind", "opt"}});
  WH_PATTERN* pattern = Alternative({{"kind", "opt"}, {"num", "7"}});
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(std::vector<int>{7}, Indexed(pattern)) << i;
  ASSERT_NE(nullptr, product_->by_value);
  // A variable changed behind the index shows that the variety is not looked at.
  auto* variety =
      static_cast<WH_VARIETY*>(FwVectorGetElement(&product_->prodinfo->varieties->seq, 8));
  wh_free(variety->vars->v);
  variety->vars->v = dup_str(FWT("7"));
  EXPECT_EQ((std::vector<int>{7, 8}), Plain(pattern));
  EXPECT_EQ(std::vector<int>{7}, Indexed(pattern));
  free_pattern(&pattern);
}

TEST_F(ProductVarieties, AProductOfFewVarietiesGetsNoIndex) {
  for (int i = 0; i < 10; ++i)
    Add({{"num", std::to_string(i)}});
  WH_PATTERN* pattern = Alternative({{"num", "7"}});
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(std::vector<int>{7}, Indexed(pattern)) << i;
  EXPECT_EQ(nullptr, product_->by_value);
  free_pattern(&pattern);
}

}  // namespace
