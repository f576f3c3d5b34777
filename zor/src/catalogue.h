// What lies in a warehouse: a walk over its directories, which reads no data file.
//
// A product's revisions are the directories that hold a product.xml, three levels or more below
// the root. Nothing is searched below one, nor are directories that are hidden or named CVS.
#ifndef ZOR_CATALOGUE_H
#define ZOR_CATALOGUE_H

#include <string>
#include <string_view>
#include <vector>

#include "warehouse.h"

namespace zor {

struct CatalogueVersion {
  std::string version;
  std::vector<std::string> revs;  // lowest first, in the order of versions
};

struct CatalogueProduct {
  std::string category;
  std::string name;
  std::vector<CatalogueVersion> versions;  // lowest first
};

// What a walk passed over, with the reason.
struct CatalogueRemark {
  std::string path;  // below the root
  std::string text;
};

struct Catalogue {
  std::vector<CatalogueProduct> products;  // sorted by category, then by name
  std::vector<CatalogueRemark> remarks;
  // Directories where a revision could be, with data files but without a product.xml; sorted.
  std::vector<std::string> without_info;
};

// Whether the walk looks into directories of that name.
bool is_searched(std::string_view name);

// The elements of a path; repeated separators and those at its ends make none.
std::vector<std::string> path_elements(std::string_view path);
// The path with one separator between two elements and none at its ends.
std::string normal_path(std::string_view path);

// Why no warehouse is at a root that nobody has given (then it is the current directory) or that is
// no directory: what, why and what to do, in lines.
std::string no_warehouse(const std::string& root, bool given);

// All products below a directory of the warehouse; an empty one is the whole of it.
// Throws Error if the directory can't be read.
Catalogue read_catalogue(const std::string& root, const std::string& below = "");

// The products of that name, in any category.
std::vector<CatalogueProduct> products_named(const Catalogue& catalogue, const std::string& name);

// Whether category/name has a revision with a product.xml, whatever its version and rev; with a
// version or a rev that is not empty and not "+", one with these.
bool product_exists(const std::string& root, const ProductName& product);

// Of the candidates those nearest to a misspelt word, best first, at most count of them.
std::vector<std::string> nearest(const std::string& word,
                                 const std::vector<std::string>& candidates, std::size_t count = 3);

}  // namespace zor

#endif
