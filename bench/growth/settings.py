"""Families that grow in what is done to variables: elements, orders, patterns, removals, the environment."""
import os

from warehouse import delete, elements, family, insert, named, names, remove, run


def one(house, operations, status=0, **environment):
    house.product("p", operations)
    return run(named("p"), status, **environment)


# ---- Elements and their order --------------------------------------------------------------------

@family(1000)
def elements_without_order(house, n):
    """n elements inserted into one variable"""
    return one(house, "".join(insert("BIG", value) for value in elements(n)))


@family(1000)
def elements_each_before_the_last(house, n):
    """n elements inserted, each before the one before it"""
    values = elements(n)
    return one(house, "".join(insert("BIG", value, values[max(i - 1, 0):i]) for i, value in enumerate(values)))


@family(1000)
def elements_each_after_the_last(house, n):
    """n elements inserted, each after the one before it"""
    values = elements(n)
    return one(house, "".join(insert("BIG", value, (), values[max(i - 1, 0):i]) for i, value in enumerate(values)))


@family(1000)
def elements_before_globs(house, n):
    """n elements inserted, each before a glob of its own that begins as one element does"""
    return one(house, "".join(insert("BIG", "/o/%05d/lib" % i, ["/o/%05d/l*" % (i - 1)]) for i in range(n)))


@family(100)
def globs_that_begin_alike(house, n):
    """n elements inserted, each before a glob of its own, all of which begin as all elements do"""
    return one(house, "".join(insert("BIG", value, ["/o/*/x%05d" % i]) for i, value in enumerate(elements(n))))


@family(100)
def globs_without_beginning(house, n):
    """n elements inserted, each before a glob of its own that begins with a wildcard and ends as no element does"""
    return one(house, "".join(insert("BIG", value, ["**/x%05d" % i]) for i, value in enumerate(elements(n))))


@family(100)
def globs_with_a_middle(house, n):
    """n elements inserted, each before a glob of its own with wildcards at both ends"""
    return one(house, "".join(insert("BIG", value, ["**/x%05d/**" % i]) for i, value in enumerate(elements(n))))


@family(100)
def globs_of_text_anywhere(house, n):
    """n elements inserted, each before a glob **text** of its own"""
    return one(house, "".join(insert("BIG", value, ["**x%05d**" % i]) for i, value in enumerate(elements(n))))


@family(100)
def globs_that_end_alike(house, n):
    """n elements inserted, each before a glob of its own that ends as all elements do and begins with a wildcard"""
    return one(house, "".join(insert("BIG", value + "/lib", ["*%05d/lib" % i]) for i, value in enumerate(elements(n))))


@family(100)
def globs_of_single_characters(house, n):
    """n elements inserted, each before a glob of its own that begins with question marks"""
    return one(house, "".join(insert("BIG", value, ["/?/???%02d/x%d" % (i % 100, i)])
                              for i, value in enumerate(elements(n))))


@family(100)
def before_all(house, n):
    """n elements inserted, each before a glob that matches all of n old ones: n^2 pairs"""
    return one(house, "".join(insert("BIG", value, ["/old/**"]) for value in elements(n)),
               BIG=":".join(elements(n, "/old/%05d")))


@family(100)
def after_all(house, n):
    """n elements inserted, each after a glob that matches all of n old ones: n^2 pairs"""
    return one(house, "".join(insert("BIG", value, (), ["/old/**"]) for value in elements(n)),
               BIG=":".join(elements(n, "/old/%05d")))


@family(50)
def between_all(house, n):
    """n elements inserted, each before the glob of n old ones and after that of n others: n^2 pairs"""
    return one(house, "".join(insert("BIG", value, ["/old/**"], ["/low/**"]) for value in elements(n)),
               BIG=":".join(elements(n, "/low/%05d") + elements(n, "/old/%05d")))


@family(50)
def products_before_20_elements(house, n):
    """n products, each inserts an element before each of 20 literal old ones"""
    old = elements(20, "/usr/o%02d")
    for name in names(n):
        house.product(name, insert("PATH", "%(BASE-CNVR)/bin", old))
    return run(named(*names(n)), PATH=":".join(old))


@family(500)
def orders_of_one_element(house, n):
    """one element inserted before n literal elements, which are there"""
    return one(house, insert("V", "/n", elements(n)), V=":".join(elements(n)))


@family(500)
def orders_of_one_element_by_globs(house, n):
    """one element inserted before n globs, each of which matches one of n elements"""
    return one(house, insert("V", "/n", elements(n, "/o/%05d*")), V=":".join(elements(n)))


@family(100)
def orders_in_a_circle(house, n):
    """n elements inserted, each before the next, the last before the first: an error"""
    values = elements(n)
    return one(house, "".join(insert("V", value, [values[(i + 1) % n]]) for i, value in enumerate(values)), status=1)


@family(1000)
def elements_of_the_value(house, n):
    """a variable that holds n elements, one inserted before all"""
    return one(house, insert("V", "/n", ["**"]), V=":".join(elements(n)))


@family(1000)
def equal_elements_of_the_value(house, n):
    """a variable that holds one element n times, one inserted"""
    return one(house, insert("V", "/n"), V=":".join(["/o"] * n))


@family(1000)
def empty_elements_of_the_value(house, n):
    """a variable of n separators, one element inserted"""
    return one(house, insert("V", "/n"), V=":" * n)


@family(100)
def marker_files(house, n):
    """one element inserted before a glob that asks for a file in each of n directories: a look at the disk for each"""
    return one(house, insert("V", "/n", ["/o/**|marker"]), V=":".join(elements(n)))


@family(100)
def marker_files_by_globs(house, n):
    """one element inserted before a glob that asks for a file by a pattern in a directory of n files"""
    directory = os.path.join(house.root, "d")
    os.makedirs(directory)
    for name in names(n):
        open(os.path.join(directory, name), "w", encoding="utf-8").close()
    return one(house, insert("V", "/n", ["**|x*y"]), V=directory)


# ---- Removals ------------------------------------------------------------------------------------

@family(100)
def patterns_of_one_removal(house, n):
    """one removal of n literal values from a variable of n others"""
    return one(house, remove("V", *elements(n, "/x/%05d")), V=":".join(elements(n)))


@family(100)
def globs_of_one_removal(house, n):
    """one removal of n globs, each of which matches one of n elements"""
    return one(house, remove("V", *elements(n, "/o/%05d*")), V=":".join(elements(n)))


@family(100)
def removals_of_one_product(house, n):
    """n removals of one literal value each from a variable of n elements"""
    return one(house, "".join(remove("V", value) for value in elements(n)), V=":".join(elements(n)))


@family(100)
def removals_by_globs_of_one_product(house, n):
    """n removals of one glob each, each of which matches one of n elements"""
    return one(house, "".join(remove("V", value + "*") for value in elements(n)), V=":".join(elements(n)))


@family(100)
def one_removal_of_everything(house, n):
    """one product inserts n elements and removes **"""
    return one(house, "".join(insert("V", value) for value in elements(n)) + remove("V", "**"))


# ---- Patterns against text -----------------------------------------------------------------------

@family(500)
def stars(house, n):
    """a glob of 30 stars against an element of n characters that almost matches"""
    return one(house, insert("V", "a" * n) + remove("V", "*a" * 30 + "b"))


@family(25)
def stars_of_both(house, n):
    """a glob of n stars against an element of 4 n characters that almost matches: n^2 positions"""
    return one(house, insert("V", "a" * (4 * n)) + remove("V", "*a" * n + "b"))


@family(25)
def any_directories(house, n):
    """a glob of n /**/ against a path of n elements that almost matches: n^2 positions"""
    return one(house, insert("V", "/a" * n) + remove("V", "/**/a" * n + "/b"))


@family(1000)
def long_literal_pattern(house, n):
    """a literal pattern of n characters against an element that is equal"""
    return one(house, insert("V", "a" * n) + remove("W", "a" * n), W="a" * n)


@family(500)
def long_path_as_a_pattern(house, n):
    """a glob of n path elements against an element that almost matches"""
    return one(house, remove("V", "/a*" * n + "/b"), V="/a" * n)


# ---- Variables -----------------------------------------------------------------------------------

@family(250)
def variables_set(house, n):
    """one product that sets n variables"""
    return one(house, "".join(insert("SITE_PRODUCT_%05d_HOME" % i, "x") for i in range(n)))


@family(250)
def variables_deleted(house, n):
    """one product that deletes n variables, all of which are set"""
    return one(house, "".join(delete("V%05d" % i) for i in range(n)), **{"V%05d" % i: "x" for i in range(n)})


@family(250)
def variables_deleted_that_are_not_set(house, n):
    """one product that deletes n variables, none of which is set"""
    return one(house, "".join(delete("V%05d" % i) for i in range(n)))


@family(1000)
def environment(house, n):
    """an environment of n variables"""
    return one(house, insert("PATH", "%(BASE-CNVR)/bin", ["/usr/bin"]),
               **{"SITE_VARIABLE_%d" % i: "/usr/share/site/%d" % i for i in range(n)})


@family(2000)
def long_environment(house, n):
    """an environment of 20 variables of n bytes each, none of which is touched"""
    return one(house, insert("X", "y"), **{"SITE_%d" % i: "x" * n for i in range(20)})


@family(50)
def globs_of_names(house, n):
    """n deletes by globs over names that match none of n variables that are set"""
    return one(house, "".join(delete("NOPE%d_*" % i) for i in range(n)),
               **{"SITE_VARIABLE_%d" % i: "x" for i in range(n)})


@family(50)
def globs_of_names_without_beginning(house, n):
    """n deletes by globs over names that begin with a wildcard and match none of n variables that are set"""
    return one(house, "".join(delete("*_NOPE%d" % i) for i in range(n)),
               **{"SITE_VARIABLE_%d" % i: "x" for i in range(n)})


@family(250)
def one_glob_of_names(house, n):
    """one removal from all of n variables that are set"""
    return one(house, remove("*", "/gone/**"), **{"SITE_VARIABLE_%d" % i: "/usr/x:/gone/y" for i in range(n)})


@family(2000)
def long_names_of_variables(house, n):
    """20 variables whose names have n characters"""
    return one(house, "".join(insert("V%d%s" % (i, "x" * n), "y") for i in range(20)))


@family(50)
def values_that_expand_to_nothing(house, n):
    """n names that are not defined: an error each"""
    return one(house, "".join(insert("V%d" % i, "%(nope)") for i in range(n)), status=1)


@family(250)
def different_separators(house, n):
    """n variables, each with two operations that state different separators: an error each"""
    both = '<ENV-INSERT sep="%s"><NAME>V%d</NAME><VALUE>x</VALUE></ENV-INSERT>'
    return one(house, "".join(both % (sep, i) for i in range(n) for sep in ";,"), status=1)


# ---- Slots of the hash tables --------------------------------------------------------------------

@family(1000)
def names_folded_by_the_hash(house, n):
    """n elements with a name twice, 7 characters apart, which the hash folds away"""
    return one(house, "".join(insert("V", "/o/p%05d/p%05d/bin" % (i, i)) for i in range(n)))


@family(1000)
def elements_of_words(house, n):
    """n elements made of 20 words"""
    words = ("alpha beta gamma delta omega kappa sigma theta zeta eta iota mu nu xi pi rho tau phi chi psi").split()
    return one(house, "".join(insert("V", "/opt/%s-%s/%s%d/bin" % (
        words[i % 20], words[i // 20 % 20], words[i // 400 % 20], i // 8000)) for i in range(n)))


def hash_step(state, byte):
    """The hash of the tables, which the order of a script follows."""
    state = (state * 16 + byte) & 0xffffffff
    return state ^ (state >> 28)


def colliding(count):
    """Texts with one hash: from each state on two pairs of letters lead to the same next state, so k times 2^k texts."""
    letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
    state, texts = 0, [""]
    while len(texts) < count:
        first = {}
        pairs = ((a, b) for a in letters for b in letters)
        for a, b in pairs:
            after = hash_step(hash_step(state, ord(a)), ord(b))
            if after in first:
                texts = [text + end for text in texts for end in (first[after], a + b)]
                state = after
                break
            first[after] = a + b
        else:
            raise AssertionError("no two pairs lead to one state")
    return texts[:count]


@family(100)
def variables_of_one_hash(house, n):
    """n variables whose names have one hash"""
    return one(house, "".join(insert(name, "x") for name in colliding(n)))


@family(100)
def elements_of_one_hash(house, n):
    """n elements of one variable that have one hash"""
    return one(house, "".join(insert("V", value) for value in colliding(n)))
