"""krel.Groups: group sources from the atlas fixture, references, regroup,
listings, HostSet(expr, groups=g), errors as ValueError."""

import doctest
import inspect
import os
import shutil
from pathlib import Path

import pytest

import krel
from krel import Groups, HostSet

SITE = Path(__file__).resolve().parents[2] / "tests" / "fixtures" / "groups" / "site"
SITE_YAML = str(SITE / "groups.d" / "site.yaml")
CONF = str(SITE / "groups.conf")
GENDERS = str(SITE / "genders")
needs_nodeattr = pytest.mark.skipif(
    shutil.which("nodeattr") is None and not os.environ.get("CI"),
    reason="nodeattr (Debian genders) is not installed")


@pytest.fixture(scope="module")
def site():
    return Groups.from_yaml(SITE_YAML)


@pytest.fixture(scope="module")
def conf():
    return Groups.from_config(CONF)


@pytest.mark.parametrize(
    "expression, expected",
    [
        pytest.param("@compute", "cn[0001-0128]", id="NestedRangeOfGroups"),
        pytest.param("@rack[1-2]", "cn[0001-0064]", id="BracketReference"),
        pytest.param("@site:rack[1,3]", "cn[0001-0032,0065-0096]", id="SourceAndBrackets"),
        pytest.param("@compute!@down", "cn[0001-0004,0006-0016,0018-0100,0102-0128]",
                     id="Difference"),
        pytest.param("@gpu&@interactive", "gpu[15-16]", id="IntersectionOfAListGroup"),
        pytest.param("@gpu_a100^@down", "cn[0005,0017,0101],gpu[01-06,08]", id="SymmetricDifference"),
        pytest.param("@io_mds,@login login1", "io[01-02],login[1-2]", id="UnionCommaAndBlank"),
        pytest.param("@drained", "", id="EmptyListGroup"),
        pytest.param("@nosuch", "", id="UnknownGroupIsEmpty"),
        pytest.param("@*", "cn[0001-0128],gpu[01-16],io[01-08],login[1-2]", id="StarIsGroupAll"),
        pytest.param("@@site", "all,batch,compute,down,drained,gpu,gpu_a100,gpu_h100,interactive,"
                     "io,io_mds,io_oss,login,rack[1-5]", id="GroupNamesAsASet"),
        pytest.param("cn[0001-0010]!@rack1", "", id="HostsMinusGroup"),
    ],
)
def test_parse_reads_references_and_operators(site, expression, expected):
    assert str(site.parse(expression)) == expected


@pytest.mark.parametrize(
    "expression, expected",
    [
        pytest.param("@roles:users", "cn[0001-0128],login[1-2]", id="NestedAcrossSources"),
        pytest.param("@roles:staff", "gpu[15-16],io[01-02],login1", id="NestedInOwnSource"),
        pytest.param("@roles:bio", "cn[0097-0100,0102-0128]", id="OtherSourceDifference"),
        pytest.param("@hw:bigmem", "cn[0121-0128]", id="UpcallMap"),
        pytest.param("@hw:*", "cn[0001-0128],gpu[01-16],io[01-08],login[1-2]", id="UpcallAll"),
        pytest.param("@pdu:pdu[1-2]a", "cn[0001-0016,0033-0048,0065-0096]", id="MultiSourceSection"),
        pytest.param("@bmc:spares", "", id="UpcallEmpty"),
        pytest.param("@loops:fine", "n[1-4]", id="CycleLeavesOthersAlone"),
    ],
)
def test_config_sources_resolve(conf, expression, expected):
    assert str(conf.parse(expression)) == expected


def test_config_sources_in_peer_order(conf):
    assert conf.sources() == ["site", "hw", "bmc", "pdu", "genders", "loops", "roles"]
    assert conf.default_source() == "site"


@pytest.mark.parametrize(
    "expression, named",
    [
        pytest.param("@loops:ping", ["ping", "pong"], id="TwoGroupCycle"),
        pytest.param("@loops:selfish", ["selfish"], id="SelfReference"),
        pytest.param("@nosrc:compute", ["nosrc"], id="UnknownSource"),
    ],
)
def test_errors_raise_value_error_naming_the_piece(conf, expression, named):
    with pytest.raises(ValueError) as error:
        conf.parse(expression)
    message = str(error.value)
    assert "\n" not in message
    for name in named:
        assert name in message


@pytest.mark.parametrize(
    "nodes, options, expected",
    [
        pytest.param("cn[0001-0128],login[1-2]", {}, "@compute,@login", id="LargestFirst"),
        pytest.param("cn[0001-0064],login1", {}, "@rack[1-2],login1", id="NamesFoldedThenHosts"),
        pytest.param("cn[0001-0064]", {"source": "site"}, "@site:rack[1-2]", id="SourcePrefix"),
        pytest.param("cn[0001-0064]", {"source": "site", "prefix": False}, "@rack[1-2]",
                     id="NoPrefix"),
        pytest.param("gpu[01-16]", {}, "@gpu", id="TiesByNameSkipOverlap"),
        pytest.param("gpu[01-16]", {"overlap": True}, "@gpu,@gpu_a100,@gpu_h100", id="Overlap"),
        pytest.param("n1", {}, "n1", id="NoGroupInside"),
    ],
)
def test_regroup_writes_group_names(site, nodes, options, expected):
    assert site.regroup(HostSet(nodes), **options) == expected


def test_regroup_reads_back(conf):
    nodes = HostSet("cn[0001-0100],gpu[01-04],login2")
    for source in conf.sources():
        if source == "loops":
            continue
        assert conf.parse(conf.regroup(nodes, source)) == nodes, source


def test_list_and_groups_of(conf):
    listed = conf.list("hw")
    assert list(listed) == ["all", "bigmem", "ib_switch1", "ib_switch2", "ib_switch3", "ssd"]
    assert str(listed["bigmem"]) == "cn[0121-0128]"
    shared = conf.groups_of(HostSet("login1"), "roles")
    assert {name: str(nodes) for name, nodes in shared.items()} == {
        "admin": "io[01-02],login1", "staff": "gpu[15-16],io[01-02],login1",
        "users": "cn[0001-0128],login[1-2]"}
    assert list(conf.list()) == list(Groups.from_yaml(SITE_YAML).list())


def test_hostset_reads_groups_through_a_keyword(site):
    assert str(HostSet("@gpu&@interactive", groups=site)) == "gpu[15-16]"
    assert str(HostSet("node[1-3]", groups=None)) == "node[1-3]"
    with pytest.raises(ValueError, match="@gpu"):
        HostSet("@gpu")


@pytest.mark.parametrize(
    "load, path",
    [
        pytest.param(Groups.from_yaml, "/nonexistent/site.yaml", id="YamlMissing"),
        pytest.param(Groups.from_config, "/nonexistent/groups.conf", id="ConfigMissing"),
        pytest.param(Groups.from_genders, "/nonexistent/genders", id="GendersMissing"),
    ],
)
def test_unreadable_files_raise_value_error_naming_them(load, path):
    with pytest.raises(ValueError, match=path):
        load(path)


def test_bad_yaml_names_file_and_line(tmp_path):
    bad = tmp_path / "bad.yaml"
    bad.write_text("site:\n  compute: 'cn[1-4]'\n  101: 'cn5'\n")
    with pytest.raises(ValueError) as error:
        Groups.from_yaml(str(bad))
    assert str(bad) in str(error.value) and ":3" in str(error.value)


def test_genders_attributes_and_values_are_groups():
    genders = Groups.from_genders(GENDERS)
    assert genders.sources() == ["genders"]
    assert str(genders.parse("@rack=3")) == "gpu[01-16],io[01-08],login[1-2]"
    assert str(genders.parse("@compute!@down")) == "cn[0001-0004,0006-0016,0018-0100,0102-0128]"
    assert str(genders.parse("@model=h100")) == "gpu[09-16]"
    assert genders.parse("@*").size() == 154


@needs_nodeattr
def test_genders_through_upcall_source(conf):
    assert str(conf.parse("@genders:mds")) == "io[01-02]"


def test_docstring_examples_hold(monkeypatch):
    monkeypatch.chdir(SITE)
    names = {"g": Groups.from_yaml("groups.d/site.yaml")}
    for name, member in [("Groups", Groups)] + list(vars(Groups).items()):
        doc = inspect.getdoc(member) or ""
        if ">>>" not in doc:
            continue
        test = doctest.DocTestParser().get_doctest(doc, dict(vars(krel), **names), name, None, 0)
        runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
        output = []
        runner.run(test, out=output.append)
        assert runner.failures == 0, "".join(output)
