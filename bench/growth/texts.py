"""Families that grow in text: references and what they expand to, long values, the data files' own form, old recipes."""
from warehouse import family, insert, named, names, product_info, recipe, run, setenv, variables, variety, write


def one(house, operations, pairs=(), status=0):
    house.product("p", operations, info=product_info(variety(variables(pairs))))
    return run(named("p"), status)


def with_file(house, operations, text):
    write(house.directory("p"), "f", text)
    return one(house, operations)


def numbered(count):
    return [("a%05d" % i, "b") for i in range(count)]


# ---- References ----------------------------------------------------------------------------------

@family(1000)
def references_to_one_variable(house, n):
    """one value of n references to one variable of the variety"""
    return one(house, insert("X", "%(a)" * n), [("a", "b")])


@family(50)
def references_to_variables(house, n):
    """one value of n references, each to one of n variables of the variety"""
    return one(house, insert("X", "".join("%%(%s)" % name for name, _ in numbered(n))), numbered(n))


@family(50)
def values_that_refer_to_variables(house, n):
    """n values, each refers to one of n variables of the variety"""
    return one(house, "".join(insert("V" + name, "%%(%s)" % name) for name, _ in numbered(n)), numbered(n))


def chained(count):
    return [(name, "%%(%s)" % after) for (name, _), (after, _) in zip(numbered(count), numbered(count + 1)[1:])]


@family(50)
def variables_that_refer_on(house, n):
    """a variable of the variety that refers to the next, n deep"""
    return one(house, insert("X", "%(a00000)"), chained(n) + [("a%05d" % n, "b")])


@family(50)
def variables_that_refer_on_in_long_text(house, n):
    """the same, in a value of 10 kB"""
    return one(house, insert("X", "t" * 10000 + "%(a00000)"), chained(n) + [("a%05d" % n, "b")])


@family(100)
def references_inside_references(house, n):
    """a reference inside a reference, n deep"""
    return one(house, insert("X", "%(" * n + "a" + ")" * n), [("a", "a")])


@family(500)
def references_to_the_environment(house, n):
    """one value of n references to an environment variable"""
    return one(house, insert("X", "%{HOME}" * n))


@family(500)
def references_to_the_product(house, n):
    """n values that name the product's directory"""
    return one(house, "".join(insert("V%d" % i, "%(BASE-CNVR)/%(THIS-NAME)") for i in range(n)))


@family(250)
def files_read_by_values(house, n):
    """n values, each of which holds what one file holds"""
    return with_file(house, "".join(insert("V%d" % i, "%[%(BASE-CNVR)/f]") for i in range(n)), "x\n")


@family(250)
def files_read_by_one_value(house, n):
    """one value that holds n times what one file holds"""
    return with_file(house, insert("V", "%[%(BASE-CNVR)/f]" * n), "x\n")


@family(250)
def files_that_are_not_there(house, n):
    """n values of files that are not there, which are passed over"""
    return one(house, "".join(insert("V%d" % i, "%[/nowhere/f]") for i in range(n)))


# A value that doubles itself ends as exhausted memory: what it costs is a case of runs.cpp.


# ---- Long texts ----------------------------------------------------------------------------------

@family(100000)
def long_value(house, n):
    """one value of n bytes"""
    return one(house, insert("X", "y" * n))


@family(100000)
def long_list(house, n):
    """one inserted value of n bytes, which has a separator each 7 of them"""
    return one(house, insert("X", "/aa/bb:" * (n // 7)))


@family(100000)
def long_file(house, n):
    """a value from a file of n bytes"""
    return with_file(house, insert("X", "%[%(BASE-CNVR)/f]"), "y" * n)


@family(50000)
def percent_signs(house, n):
    """a value from a file of n percent signs"""
    return with_file(house, insert("X", "%[%(BASE-CNVR)/f]"), "%" * n)


@family(500)
def references_without_an_end(house, n):
    """a value from a file of n references that begin and never end"""
    return with_file(house, insert("X", "%[%(BASE-CNVR)/f]"), "%(a" * n)


@family(2000)
def brackets_behind_a_reference(house, n):
    """a value of n brackets that open behind the beginning of a reference"""
    return one(house, insert("X", "%( " + "(" * n))


@family(20000)
def quotes(house, n):
    """one value of n quotes, which a script must protect"""
    return one(house, insert("X", "'" * n))


@family(20000)
def characters_outside_ascii(house, n):
    """one value of n characters of three bytes"""
    return one(house, insert("X", "\N{EURO SIGN}" * n))


# ---- The data files' own form --------------------------------------------------------------------

@family(1000)
def comments(house, n):
    """n comments in env.xml"""
    return one(house, insert("X", "y") + "<!-- a comment -->\n" * n)


@family(100000)
def long_comment(house, n):
    """one comment of n bytes"""
    return one(house, insert("X", "y") + "<!-- %s -->" % ("word " * (n // 5)))


@family(100000)
def blanks(house, n):
    """n bytes of white space between elements"""
    return one(house, insert("X", "y") + "          \n" * (n // 11))


@family(10000)
def character_references(house, n):
    """one value of n character references"""
    return one(house, insert("X", "&#97;" * n))


@family(10000)
def sections(house, n):
    """one value of n CDATA sections"""
    return one(house, insert("X", "<![CDATA[a]]>" * n))


@family(100000)
def long_description(house, n):
    """a description of n bytes"""
    house.product("p", insert("X", "y"), info="<PRODUCT-INFO><DESCRIPTION>%s</DESCRIPTION><VARIETIES>%s</VARIETIES>"
                  "</PRODUCT-INFO>" % ("word " * (n // 5), variety()))
    return run(named("p"))


@family(50000)
def long_attribute(house, n):
    """an attribute of n bytes: the parser looks at it anew with each block of the file"""
    house.product("p", insert("X", "y"), info='<PRODUCT-INFO name="%s"><VARIETIES>%s</VARIETIES></PRODUCT-INFO>' % (
        "x" * n, variety()))
    return run(named("p"))


@family(200)
def attributes(house, n):
    """an element of n attributes"""
    extra = " ".join('a%d="b"' % i for i in range(n))
    house.product("p", insert("X", "y"), info="<PRODUCT-INFO %s><VARIETIES>%s</VARIETIES></PRODUCT-INFO>" % (
        extra, variety()))
    return run(named("p"))


@family(500)
def variables_of_a_variety(house, n):
    """a variety of n variables, none of which is referred to"""
    return one(house, insert("X", "y"), numbered(n))


# ---- Old recipes ---------------------------------------------------------------------------------

def old_products(house, count, command):
    for name in names(count):
        house.product(name, old=recipe(command(name)))
    return run(named(*names(count)))


@family(50)
def recipes_that_prepend(house, n):
    """n old products, each prepends to PATH"""
    return old_products(house, n, lambda name: setenv("prepend", "PATH", "%(BASE-CNVR)/bin"))


@family(50)
def recipes_that_append(house, n):
    """n old products, each appends to PATH"""
    return old_products(house, n, lambda name: setenv("append", "PATH", "%(BASE-CNVR)/bin"))


@family(100)
def recipes_that_set(house, n):
    """n old products, each sets a variable"""
    return old_products(house, n, lambda name: setenv("set", name.upper(), "x"))


@family(50)
def recipes_that_take_out(house, n):
    """n old products, each takes its element out of PATH, which holds n"""
    arguments = old_products(house, n, lambda name: setenv("unprepend", "PATH", "/o/%s/bin" % name)).arguments
    return run(arguments, PATH=":".join("/o/%s/bin" % name for name in names(n)))


def steps(house, *commands):
    house.product("p", old=recipe(*commands))
    return run(named("p"))


@family(100)
def steps_that_append(house, n):
    """an old recipe of n steps that append to one variable"""
    return steps(house, *(setenv("append", "X", "/o/%05d" % i) for i in range(n)))


@family(100)
def steps_that_prepend(house, n):
    """an old recipe of n steps that prepend to one variable"""
    return steps(house, *(setenv("prepend", "X", "/o/%05d" % i) for i in range(n)))


@family(100)
def steps_that_append_one_value(house, n):
    """an old recipe of n steps that append the same value"""
    return steps(house, *[setenv("append", "X", "/o")] * n)


@family(250)
def steps_that_set_one_variable(house, n):
    """an old recipe of n steps that set one variable"""
    return steps(house, *(setenv("set", "X", "/o/%05d" % i) for i in range(n)))


@family(250)
def steps_that_delete(house, n):
    """an old recipe of n steps that delete variables that are not set"""
    return steps(house, *(setenv("delete", "V%05d" % i) for i in range(n)))


@family(250)
def steps_that_are_passed_over(house, n):
    """an old recipe of n commands of installers"""
    kinds = ('<CMD>make</CMD>', '<COPY from="a" to="b"/>', '<MESSAGE title="t">text</MESSAGE>',
             '<RUN program="p"><ARG>a</ARG></RUN>', '<SETREG hive="h" key="k"/>')
    return steps(house, *(kinds[i % len(kinds)] for i in range(n)))


@family(500)
def commands_of_one_step(house, n):
    """an old recipe of one step of n commands that set variables"""
    return steps(house, "".join(setenv("set", "V%05d" % i, "x") for i in range(n)))
