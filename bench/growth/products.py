"""Families that grow in products: named together or apart, of one mind or not, and what lies beside them on disk."""
import os

from warehouse import (delete, elements, family, in_groups, insert, named, names, numbered_varieties, own_settings,
                       product_info, remove, run, variables, variety)


@family(100)
def products_named(house, n):
    """n products named, each with an element of PATH and a variable"""
    for name in names(n):
        house.product(name, own_settings(name))
    return run(named(*names(n)))


@family(100)
def products_with_a_variable_each(house, n):
    """n products named, each with a variable"""
    for name in names(n):
        house.product(name, insert(name.upper(), "%(BASE-CNVR)"))
    return run(named(*names(n)))


@family(100)
def products_without_settings(house, n):
    """n products named, none of which sets anything"""
    for name in names(n):
        house.product(name)
    return run(named(*names(n)))


@family(250)
def products_missing(house, n):
    """n products named that are not there"""
    house.product("one", insert("X", "y"))
    return run(named("one", *names(n)), status=1)


@family(250)
def products_missing_and_ignored(house, n):
    """n products named that are not there, with --ignore-missing"""
    house.product("one", insert("X", "y"))
    return run(["--ignore-missing"] + named("one", *names(n)))


@family(1000)
def one_product_named_n_times(house, n):
    """one product, named n times"""
    house.product("one", insert("X", "y"))
    return run(named("one") * n)


@family(1000)
def v_options(house, n):
    """one product with n options -v, all of the same variable"""
    house.product("one", insert("X", "y"), info=product_info(variety(variables([("a", "b")]))))
    return run(named("one") + ["-v", "a", "b"] * n)


@family(500)
def v_options_of_variables(house, n):
    """one product of one variety with n variables, each asked for by an option -v"""
    pairs = [("a%05d" % i, "b") for i in range(n)]
    house.product("one", insert("X", "y"), info=product_info(variety(variables(pairs))))
    return run(named("one") + [word for pair in pairs for word in ("-v", *pair)])


# ---- Undoing -------------------------------------------------------------------------------------

@family(100)
def undo_of_own_elements(house, n):
    """n products undone, each removes its own element from PATH, which holds all n"""
    values = dict(zip(names(n), elements(n, "/o/p%05d/bin")))
    for name, value in values.items():
        house.product(name, insert("PATH", value), undo=remove("PATH", value))
    return run(["-u"] + named(*values), PATH=":".join(values.values()))


@family(100)
def undo_by_globs(house, n):
    """n products undone, each removes what is below its directory from PATH, which holds n others"""
    for name in names(n):
        house.product(name, undo=remove("PATH", "%(BASE-CNVR)/**"))
    return run(["-u"] + named(*names(n)), PATH=":".join(elements(n, "/o/p%05d/bin")))


@family(50)
def undo_by_globs_without_beginning(house, n):
    """n products undone, each removes **/NAME/** from PATH, which holds all n"""
    for name in names(n):
        house.product(name, undo=remove("PATH", "**/%s/**" % name))
    return run(["-u"] + named(*names(n)), PATH=":".join(elements(n, "/o/p%05d/bin")))


@family(50)
def upgrade(house, n):
    """n products, each removes its older elements by a glob and inserts its own; PATH holds n older ones"""
    for name in names(n):
        house.product(name, remove("PATH", "/o/%s/**" % name) + insert("PATH", "/n/%s/bin" % name, ["/usr/bin"]))
    return run(named(*names(n)), PATH="/usr/bin:" + ":".join(elements(n, "/o/p%05d/bin")))


@family(50)
def undo_that_deletes(house, n):
    """n products undone, each deletes the same 5 variables of one value, and its own"""
    common = names(5, "SUITE_")
    for name in names(n):
        house.product(name, undo="".join(map(delete, common)) + delete(name.upper()))
    return run(["-u"] + named(*names(n)), **dict.fromkeys(common, "v"))


@family(100)
def undo_without_a_file(house, n):
    """n products undone that have no unenv.xml"""
    for name in names(n):
        house.product(name, own_settings(name))
    return run(["-u"] + named(*names(n)))


# ---- Several of one mind -------------------------------------------------------------------------

@family(100)
def one_value_of_unrelated_products(house, n):
    """n unrelated products insert the same value"""
    for name in names(n):
        house.product(name, insert("PATH", "/opt/site/bin", ["/usr/bin"]))
    return run(named(*names(n)))


@family(100)
def one_value_of_parts(house, n):
    """n parts, and the product that has them, insert the same value"""
    for name in names(n):
        house.product(name, insert("PATH", "/opt/site/bin", ["/usr/bin"]))
    house.product("top", insert("PATH", "/opt/site/bin", ["/usr/bin"]), names(n))
    return run(named("top"))


@family(100)
def one_value_of_a_chain(house, n):
    """a chain of n products that all insert the same value"""
    for i, name in enumerate(names(n)):
        house.product(name, insert("PATH", "/opt/site/bin", ["/usr/bin"]), names(n)[i + 1:i + 2])
    return run(named("p00000"))


@family(1000)
def one_value_of_one_product(house, n):
    """one product inserts the same value n times"""
    house.product("big", insert("X", "v") * n)
    return run(named("big"))


@family(25)
def common_elements_of_a_suite(house, n):
    """n products named, each inserts the 20 common elements of its suite into PATH"""
    for name in names(n):
        house.product(name, "".join(insert("PATH", value, ["/usr/bin"]) for value in elements(20, "/opt/c%02d/bin")))
    return run(named(*names(n)))


@family(10)
def one_value_set(house, n):
    """n products set one variable to the same value, by a delete and an insert"""
    for name in names(n):
        house.product(name, delete("MODE") + insert("MODE", "fast"))
    return run(named(*names(n)))


@family(10)
def one_value_set_by_parts(house, n):
    """one product with n parts, all set one variable to the same value, by a delete and an insert"""
    for name in names(n):
        house.product(name, delete("MODE") + insert("MODE", "fast"))
    house.product("top", delete("MODE") + insert("MODE", "fast"), names(n))
    return run(named("top"))


@family(10)
def one_value_set_by_a_chain(house, n):
    """a chain of n products that all set one variable to the same value, by a delete and an insert"""
    for i, name in enumerate(names(n)):
        house.product(name, delete("MODE") + insert("MODE", "fast"), names(n)[i + 1:i + 2])
    return run(named("p00000"))


@family(10)
def one_element_replaced(house, n):
    """n products, each removes /opt/site/** from PATH and inserts /opt/site/bin"""
    for name in names(n):
        house.product(name, remove("PATH", "/opt/site/**") + insert("PATH", "/opt/site/bin", ["/usr/bin"]))
    return run(named(*names(n)))


@family(25)
def one_value_set_by_some(house, n):
    """n parts insert one value, 20 of them delete it first, as does the product that has them"""
    for i, name in enumerate(names(n)):
        house.product(name, (delete("MODE") if i < 20 else "") + insert("MODE", "fast"))
    house.product("top", delete("MODE") + insert("MODE", "fast"), names(n))
    return run(named("top"))


@family(5)
def one_value_set_by_varieties(house, n):
    """one product of n varieties, all of which set one variable to the same value, by a delete and an insert"""
    house.product("one", delete("MODE") + insert("MODE", "fast"), info=numbered_varieties(n))
    return run(named("one"))


@family(250)
def one_glob_removed_by_all(house, n):
    """n products remove the same glob from PATH, which has 30 elements"""
    for name in names(n):
        house.product(name, remove("PATH", "**/csw/**"))
    return run(named(*names(n)), PATH=":".join(elements(30, "/usr/e%02d/bin")))


@family(50)
def one_variable_deleted_by_all(house, n):
    """n products delete one variable of 30 elements"""
    for name in names(n):
        house.product(name, delete("OLDPATH"))
    return run(named(*names(n)), OLDPATH=":".join(elements(30, "/usr/e%02d/bin")))


@family(50)
def clashes(house, n):
    """one product inserts n values, an unrelated one removes them all"""
    house.product("a", "".join(insert("V", value) for value in elements(n)))
    house.product("b", remove("V", "/o/*"))
    return run(named("a", "b"), status=1)


# ---- Groups --------------------------------------------------------------------------------------

@family(50)
def groups_of_one_product(house, n):
    """n groups of one product each"""
    for name in names(n):
        house.product(name, insert(name.upper(), "%(BASE-CNVR)"))
    return run(in_groups(*names(n)))


@family(100)
def groups_of_the_same_product(house, n):
    """n groups, all of the same product"""
    house.product("p", "".join(insert("V%d" % i, "x") for i in range(3)))
    return run(in_groups(*["p"] * n))


@family(20)
def groups_behind_a_site(house, n):
    """n groups of one product each, behind a product of 200 parts"""
    for name in names(200, "s"):
        house.product(name, insert(name.upper(), "x"))
    house.product("site", parts=names(200, "s"))
    for name in names(n):
        house.product(name, insert("PATH", "%(BASE-CNVR)", ["/usr/bin"]))
    return run(in_groups("site", *names(n)))


@family(10)
def groups_that_name_a_site(house, n):
    """n groups, each names the same product of 100 parts again"""
    for name in names(100, "s"):
        house.product(name, insert(name.upper(), "x"))
    house.product("site", parts=names(100, "s"))
    return run(in_groups(*["site"] * n))


@family(100)
def groups_over_a_long_variable(house, n):
    """n groups, each puts an element in front of PATH"""
    for name in names(n):
        house.product(name, insert("PATH", "/n/" + name, ["**"]))
    return run(in_groups(*names(n)))


# ---- On disk -------------------------------------------------------------------------------------

@family(500)
def versions(house, n):
    """n versions on disk, the highest of which is asked for"""
    for i in range(n):
        os.makedirs(house.directory("v", "1.%d" % i))
    house.product("v", insert("X", "y"), where=house.directory("v", "1.%d" % n))
    return run(["-p", "tools", "v"])


@family(500)
def versions_with_and_without_dots(house, n):
    """n versions on disk, half of them without a dot"""
    for i in range(n):
        os.makedirs(house.directory("v", "1.%d" % i if i % 2 else "1%05d" % i))
    house.product("v", insert("X", "y"), where=house.directory("v", "9.%d" % n))
    return run(["-p", "tools", "v"])


@family(25)
def versions_of_many_elements(house, n):
    """20 versions on disk of n elements each, which differ in the last"""
    stem = "1." * n
    for i in range(20):
        os.makedirs(house.directory("v", stem + str(i)))
    house.product("v", insert("X", "y"), where=house.directory("v", stem + "99"))
    return run(["-p", "tools", "v"])


@family(500)
def revisions(house, n):
    """n revisions on disk, the highest of which is asked for"""
    for i in range(n):
        os.makedirs(house.directory("v", "1.0", str(i)))
    house.product("v", insert("X", "y"), where=house.directory("v", "1.0", str(n)))
    return run(["-p", "tools", "v", "1.0"])


@family(100)
def latest_of_many_products(house, n):
    """n products of 5 versions each, the highest of which is asked for"""
    for name in names(n):
        for i in range(5):
            os.makedirs(house.directory(name, "1.%d" % i))
        house.product(name, insert(name.upper(), "y"), where=house.directory(name, "1.9"))
    return run([word for name in names(n) for word in ("-p", "tools", name)])


@family(500)
def directories_beside(house, n):
    """n products beside the only one that is named"""
    for name in names(n):
        os.makedirs(house.directory(name))
    house.product("one", insert("X", "y"))
    return run(named("one"))


@family(500)
def files_beside(house, n):
    """n files in the product's directory"""
    house.product("one", insert("X", "%(BASE-CNVR)"))
    for name in names(n):
        open(os.path.join(house.directory("one"), name), "w", encoding="utf-8").close()
    return run(named("one"))


@family(100)
def deep_categories(house, n):
    """one product below n levels of categories, of 4 characters each"""
    category = "/".join(["abc"] * n)
    house.product("one", insert("X", "%(BASE-CNVR)"), where=house.directory("one", category=category))
    return run(["-p", category, "one", "1.0", "1"])


@family(25)
def categories(house, n):
    """n products in as many categories"""
    for i, name in enumerate(names(n)):
        house.product(name, insert(name.upper(), "x"), where=house.directory(name, category="c%d" % i))
    return run([word for i, name in enumerate(names(n)) for word in ("-p", "c%d" % i, name, "1.0", "1")])


@family(50)
def long_names_of_products(house, n):
    """20 products whose names have n characters"""
    long_names = ["x" * n + str(i) for i in range(20)]
    for name in long_names:
        house.product(name, insert("PATH", "%(BASE-CNVR)", ["/usr/bin"]))
    return run(named(*long_names))
