"""Families that grow in parts and varieties: graphs of requirements, parts that are not there, conditions."""
from warehouse import (family, group, insert, match, named, names, numbered_varieties, own_settings, part, partlist,
                       pattern, product_info, run, settings, variables, variety)

PLATFORMS = ("linux-x86", "linux-x86_64", "solaris-sparc", "solaris_8-sparc", "hpux-hppa", "irix-mips", "win_nt-x86",
             "macos-ppc", "darwin-ppc", "linux_2_4-i686", "sunos-sparc", "linux-sparc")


# ---- Graphs --------------------------------------------------------------------------------------

@family(100)
def parts_of_one_product(house, n):
    """one product with n parts, each with an element of PATH and a variable"""
    for name in names(n):
        house.product(name, own_settings(name))
    house.product("top", parts=names(n))
    return run(named("top"))


@family(100)
def parts_with_a_variable_each(house, n):
    """one product with n parts, each with a variable"""
    for name in names(n):
        house.product(name, insert(name.upper(), "x"))
    house.product("top", parts=names(n))
    return run(named("top"))


@family(1000)
def one_part_n_times(house, n):
    """one product whose part list names one part n times"""
    house.product("q", insert("Q", "x"))
    house.product("top", parts=["q"] * n)
    return run(named("top"))


@family(100)
def chain(house, n):
    """a chain of n products"""
    for i, name in enumerate(names(n)):
        house.product(name, insert(name.upper(), "x"), names(n)[i + 1:i + 2])
    return run(named("p00000"))


@family(100)
def chain_named(house, n):
    """a chain of n products, all of which are named as well"""
    for i, name in enumerate(names(n)):
        house.product(name, insert(name.upper(), "x"), names(n)[i + 1:i + 2])
    return run(named(*names(n)))


@family(50)
def chain_of_one_variable(house, n):
    """a chain of n products, each puts its element in front of that of its part"""
    for i, name in enumerate(names(n)):
        house.product(name, insert("LIST", "/n/" + name, ["/n/" + other for other in names(n)[i + 1:i + 2]]),
                      names(n)[i + 1:i + 2])
    return run(named("p00000"))


@family(50)
def diamonds(house, n):
    """n diamonds in a row"""
    for i in range(n):
        house.product("t%05d" % i, insert("T%05d" % i, "x"), ["l%05d" % i, "r%05d" % i])
        for side in "lr":
            house.product("%s%05d" % (side, i), parts=["t%05d" % (i + 1)] if i + 1 < n else [])
    return run(named("t00000"))


def lay_layers(house, layers, width, missing=lambda layer, column: []):
    """Each product of a layer has all of the next as parts."""
    def name(layer, column):
        return "l%03dk%03d" % (layer, column)
    for layer in range(layers):
        for column in range(width):
            below = [name(layer + 1, other) for other in range(width)] if layer + 1 < layers else []
            house.product(name(layer, column), insert(name(layer, column).upper(), "x"),
                          missing(layer, column) + below)
    return run(named(*[name(0, column) for column in range(width)]))


@family(5)
def layers(house, n):
    """n layers of 10, each requires all of the next: 100 n parts"""
    return lay_layers(house, n, 10)


@family(5)
def wide_layers(house, n):
    """5 layers of n, each requires all of the next: 4 n^2 parts"""
    return lay_layers(house, 5, n)


@family(50)
def ring(house, n):
    """n products in a ring"""
    for i, name in enumerate(names(n)):
        house.product(name, insert(name.upper(), "x"), [names(n)[(i + 1) % n]])
    return run(named("p00000"))


@family(10)
def ring_of_all(house, n):
    """n products, each has all others as parts: n^2 parts"""
    for name in names(n):
        house.product(name, insert(name.upper(), "x"), [other for other in names(n) if other != name])
    return run(named("p00000"))


@family(10)
def common_libraries(house, n):
    """n products named, each has the same 30 libraries as parts"""
    for name in names(30, "q"):
        house.product(name, insert("LIBS", "%(BASE-CNVR)/lib"))
    for name in names(n):
        house.product(name, insert(name.upper(), "x"), names(30, "q"))
    return run(named(*names(n)))


# ---- Parts that are not there --------------------------------------------------------------------

@family(10)
def common_libraries_one_missing(house, n):
    """n products named, each has the same 30 libraries as parts, one of which is not there"""
    for name in names(29, "q"):
        house.product(name, insert("LIBS", "%(BASE-CNVR)/lib"))
    for name in names(n):
        house.product(name, insert(name.upper(), "x"), names(30, "q"))
    return run(named(*names(n)))


@family(250)
def missing_parts(house, n):
    """one product with n parts that are not there"""
    house.product("top", insert("X", "y"), names(n))
    return run(named("top"))


@family(10)
def missing_parts_of_a_chain(house, n):
    """a chain of n products, each has 20 parts that are not there"""
    for i, name in enumerate(names(n)):
        house.product(name, insert(name.upper(), "x"), names(20, "no") + names(n)[i + 1:i + 2])
    return run(named("p00000"))


@family(4)
def missing_parts_of_layers(house, n):
    """n layers of 10, each product has 3 parts that are not there"""
    return lay_layers(house, n, 10, lambda layer, column: names(3, "no"))


@family(4)
def one_missing_part_below_layers(house, n):
    """n layers of 10, the last product of which has a part that is not there"""
    return lay_layers(house, n, 10, lambda layer, column: ["no"] if (layer, column) == (n - 1, 9) else [])


@family(1000)
def files_of_a_part_list(house, n):
    """a part list of n files"""
    files = '<FILE name="f" built-as="b" pack-as="c"/>\n' * n
    house.product("p", insert("X", "y"), list_of_parts=partlist(files))
    return run(named("p"))


@family(250)
def part_specs(house, n):
    """a part list of n PARTSPEC, the conditions of which are not met"""
    condition = pattern(match(("platform", "solaris")))
    house.product("q", insert("Q", "x"))
    house.product("p", insert("X", "y"), list_of_parts="<PARTLIST>%s</PARTLIST>" % (
        "<PARTSPEC>%s<PARTS>%s</PARTS></PARTSPEC>" % (condition, part("q")) * n))
    return run(named("p"))


@family(250)
def packs(house, n):
    """a part with n media"""
    house.product("q", insert("Q", "x"))
    house.product("p", list_of_parts=partlist('<PRODUCT name="q"><PATTERN/>%s</PRODUCT>' % ("<PACK/>" * n)))
    return run(named("p"))


# ---- Varieties -----------------------------------------------------------------------------------

@family(500)
def varieties(house, n):
    """one product of n varieties that are all taken, each inserts a value of its own"""
    house.product("v", insert("NUM", "%(num)"), info=numbered_varieties(n))
    return run(named("v"))


@family(500)
def one_variety_of_many(house, n):
    """one product of n varieties, one of which -v asks for"""
    house.product("v", insert("NUM", "%(num)"), info=numbered_varieties(n))
    return run(named("v") + ["-v", "num", "7"])


@family(500)
def incomplete_varieties(house, n):
    """one product of n varieties that are not complete, and one that is"""
    house.product("v", insert("X", "y"), info=product_info(variety(here=0) * n, variety()))
    return run(named("v"))


@family(500)
def segments(house, n):
    """one variety of n segments"""
    house.product("v", insert("X", "y"), info=product_info(variety('<SEGMENT here="1"/>' * n)))
    return run(named("v"))


@family(100)
def varieties_of_varieties(house, n):
    """20 varieties of n variables each, all of which are taken"""
    pairs = [("a%05d" % i, "b") for i in range(n)]
    house.product("v", insert("X", "y"), info=product_info(variety(variables(pairs)) * 20))
    return run(named("v"))


@family(50)
def varieties_with_groups(house, n):
    """n varieties, one of which -v asks for, and n groups of operations, each for one"""
    house.product("v", settings(*(group(insert("N%d" % i, "x"), pattern(match(("num", i)))) for i in range(n))),
                  info=numbered_varieties(n))
    return run(named("v") + ["-v", "num", "7"])


@family(10)
def all_varieties_with_groups(house, n):
    """n varieties that are all taken, and n groups of operations, each for one: n^2 conditions"""
    house.product("v", settings(*(group(insert("N%d" % i, "x"), pattern(match(("num", i)))) for i in range(n))),
                  info=numbered_varieties(n))
    return run(named("v"))


@family(50)
def varieties_with_parts(house, n):
    """one product of n varieties that are all taken, with 10 parts"""
    for name in names(10, "q"):
        house.product(name, insert(name.upper(), "x"))
    house.product("v", insert("NUM", "%(num)"), names(10, "q"), info=numbered_varieties(n))
    return run(named("v"))


@family(10)
def varieties_with_a_part_each(house, n):
    """one product of n varieties, a part of n varieties, and one of the latter for each of the former: n^2 pairs"""
    house.product("q", insert("Q", "%(num)"), info=numbered_varieties(n))
    house.product("v", insert("NUM", "%(num)"), info=numbered_varieties(n),
                  list_of_parts=partlist(part("q", pattern(match(("num", "%(num)"))))))
    return run(named("v"))


@family(50)
def platforms(house, n):
    """n products, each of 12 varieties for platforms"""
    info = product_info(*(variety(variables([("platform", name)])) for name in PLATFORMS))
    for name in names(n):
        house.product(name, insert(name.upper(), "%(BASE-CNVR)/%(platform)/lib%(PDLL)"), info=info)
    return run(named(*names(n)))


# ---- Conditions ----------------------------------------------------------------------------------

def conditional(house, condition, pairs=(("a", "b"),), count=1):
    house.product("p", settings(group(insert("X", "y"), condition) * count), info=product_info(variety(variables(pairs))))
    return run(named("p"))


@family(500)
def alternatives_of_a_condition(house, n):
    """a condition of n MATCH, the last of which is met"""
    return conditional(house, pattern(*(match(("a", "x%d" % i)) for i in range(n)), match(("a", "b"))))


@family(500)
def conditions_of_a_match(house, n):
    """a MATCH of n VAR of one variable, all of which are met"""
    return conditional(house, pattern(match(*[("a", "b")] * n)))


@family(50)
def conditions_on_variables(house, n):
    """a MATCH of n VAR, each of one of n variables of the variety: n^2 names"""
    pairs = [("a%05d" % i, "b") for i in range(n)]
    return conditional(house, pattern(match(*pairs)), pairs)


@family(500)
def alternatives_between_commas(house, n):
    """a VAR with n alternatives between commas, the last of which matches"""
    return conditional(house, pattern(match(("a", ",".join("x%d" % i for i in range(n)) + ",b"))))


@family(500)
def platforms_between_commas(house, n):
    """a VAR of the platform with n alternatives between commas, the last of which fits"""
    return conditional(house, pattern(match(("platform", "solaris_8-sparc," * n + "linux"))),
                       [("platform", "linux-x86_64")])


@family(500)
def groups_of_operations(house, n):
    """n groups of operations, the conditions of which are met"""
    return conditional(house, pattern(match(("a", "b"))), count=n)


@family(250)
def long_platforms(house, n):
    """a platform of n words, which is not in the graph of platforms"""
    return conditional(house, pattern(match(("platform", "linux"))), [("platform", "linux%s-x86" % ("_9" * n))])
