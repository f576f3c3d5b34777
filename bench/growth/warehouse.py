"""What families of warehouses are made of: data files, products, runs, and the table of the families."""
import collections
import inspect
import os

# What the tool is called with behind the root, the variables beside BASE, and the status it is to end with.
Run = collections.namedtuple("Run", "arguments variables status")
Family = collections.namedtuple("Family", "name smallest lay sentence")

BASE = {"PATH": "/usr/local/bin:/usr/bin:/bin", "HOME": "/home/user", "LANG": "C.UTF-8"}
FAMILIES = {}


def family(smallest):
    """Puts a function into the table: it lays a warehouse of the size that it is given and returns its Run."""
    def add(function):
        name = function.__name__.replace("_", " ")
        assert name not in FAMILIES
        FAMILIES[name] = Family(name, smallest, function, inspect.getdoc(function))
        return function
    return add


# ---- Data files ----------------------------------------------------------------------------------

def insert(name, value, before=(), after=()):
    return "<ENV-INSERT><NAME>%s</NAME><VALUE>%s</VALUE>%s%s</ENV-INSERT>\n" % (
        name, value, "".join("<BEFORE>%s</BEFORE>" % pattern for pattern in before),
        "".join("<AFTER>%s</AFTER>" % pattern for pattern in after))


def remove(name, *patterns):
    return "<ENV-REMOVE><NAME>%s</NAME>%s</ENV-REMOVE>\n" % (
        name, "".join("<VALUE>%s</VALUE>" % pattern for pattern in patterns))


def delete(name):
    return "<ENV-DELETE>%s</ENV-DELETE>\n" % name


def group(operations, pattern="<PATTERN/>"):
    return "<ENV-GROUP>%s%s</ENV-GROUP>\n" % (pattern, operations)


def settings(*groups):
    return "<ENV-SETTINGS>%s</ENV-SETTINGS>\n" % "".join(groups)


def match(*conditions):
    """The inside of a PATTERN with one way to meet it; each condition is a name and a value."""
    return "<MATCH>%s</MATCH>" % "".join('<VAR n="%s" v="%s"/>' % condition for condition in conditions)


def pattern(*matches):
    return "<PATTERN>%s</PATTERN>" % "".join(matches)


def part(name, condition="<PATTERN/>"):
    return '<PRODUCT name="%s">%s</PRODUCT>\n' % (name, condition)


def partlist(*parts):
    return "<PARTLIST>%s</PARTLIST>\n" % (
        "<PARTSPEC><PATTERN/><PARTS>%s</PARTS></PARTSPEC>" % "".join(parts) if parts else "")


def variables(pairs):
    return "".join('<VAR n="%s" v="%s"/>' % pair for pair in pairs)


def variety(inside="", here=1):
    return '<VARIETY>%s<SEGMENT here="%d"/></VARIETY>\n' % (inside, here)


def product_info(*varieties):
    return "<PRODUCT-INFO><VARIETIES>%s</VARIETIES></PRODUCT-INFO>\n" % "".join(varieties)


def numbered_varieties(count):
    return product_info(*(variety(variables([("num", number)])) for number in range(count)))


def recipe(*commands):
    """Each command in a step of its own."""
    return "<RECIPE>%s</RECIPE>\n" % "".join("<STEP><PATTERN/>%s</STEP>\n" % command for command in commands)


def setenv(op, name, value=""):
    return '<SETENV op="%s" name="%s" value="%s"/>' % (op, name, value)


def own_settings(name):
    """What most products have: an element of PATH in front of the system's, and a variable."""
    return insert("PATH", "%(BASE-CNVR)/bin", ["/usr/bin"]) + insert(name.upper() + "_HOME", "%(BASE-CNVR)")


# ---- Warehouses ----------------------------------------------------------------------------------

class Warehouse:
    def __init__(self, root):
        self.root = root

    def directory(self, name, version="1.0", rev="1", category="tools"):
        return os.path.join(self.root, category, name, version, rev)

    def product(self, name, env="", parts=(), undo="", info=None, list_of_parts=None, old="", where=None):
        """A product: env and undo are operations, or whole files if they begin with the root element; parts are names."""
        where = where or self.directory(name)
        write(where, "product.xml", info or product_info(variety()))
        write(where, "partlist.xml", list_of_parts or partlist(*map(part, parts)))
        for leaf, text in (("env.xml", env), ("unenv.xml", undo)):
            if text:
                write(where, leaf, text if text.startswith("<ENV-SETTINGS") else settings(group(text)))
        if old:
            write(where, "setup.xml", old)


def write(directory, leaf, text):
    os.makedirs(directory, exist_ok=True)
    with open(os.path.join(directory, leaf), "w", encoding="utf-8") as stream:
        stream.write(text)


def names(count, stem="p"):
    return ["%s%05d" % (stem, i) for i in range(count)]


def elements(count, form="/o/%05d"):
    return [form % i for i in range(count)]


# ---- Runs ----------------------------------------------------------------------------------------

def named(*products):
    """Arguments that name products in full, so that no directory is searched."""
    return [word for name in products for word in ("-p", "tools", name, "1.0", "1")]


def in_groups(*products):
    words = []
    for name in products:
        words += (["--and"] if words else []) + named(name)
    return words


def run(arguments, status=0, **environment):
    return Run(arguments, environment, status)
