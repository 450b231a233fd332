"""A fleet of private roots, and what the tests do with it."""
import hashlib
import json
import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import tarfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = SOURCE / "Examples"
PRIVATE_ROOT = SOURCE / "Scripts/private-root"
STATUS_FOLDER = "/Library/Application Support/Vorlane"
RECORD = STATUS_FOLDER + "/InstallationStatusFile.xml"
UNINSTALLERS = "/Applications/Vorlane Uninstallers"
HOME = "/Users/anna"
# What packages, role and items use beside what a private root has.
TOOLS = ["awk", "grep", "gzip", "sed", "tar", "xargs"]


def run(*command, status=0, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)
    if status is not None and done.returncode != status:
        raise AssertionError(f"{command} ends with {done.returncode}\n{done.stdout}{done.stderr}")
    return done


def why_no_private_root():
    return run(PRIVATE_ROOT, "why-not").stdout.strip()


def words_to_enter(root):
    """What stands before a command that is to run in the private root.

    The superuser needs nothing but chroot, which takes a quarter of the time. These tests start a thousand commands.
    """
    chroot = shutil.which("chroot", path="/usr/sbin:/sbin:/usr/bin:/bin")
    if chroot and (root / "dev/null").is_char_device() and run(chroot, root, "true", status=None).returncode == 0:
        return [chroot, str(root)]
    return [str(PRIVATE_ROOT), "run", str(root)]


digests = {}


def content_of(path):
    """What a link says, the digest of a file, and nothing for a folder."""
    if os.path.islink(path):
        return os.readlink(path)
    if not os.path.isfile(path):
        return ""
    found = os.stat(path)
    # Nobody can set the time of the last change, so that a file with the same one is the same.
    key = (found.st_ino, found.st_ctime_ns, found.st_size)
    if key not in digests:
        digests[key] = hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    return digests[key]


class Host:
    """A private root with the inspector."""

    def __init__(self, folder, build):
        self.root = folder
        self.build = build
        self.words = []

    def outside(self, path):
        return self.root / path.lstrip("/")

    def exists(self, path):
        return os.path.lexists(self.outside(path))

    def read(self, path):
        return self.outside(path).read_bytes()

    def write(self, path, text, mode=0o644):
        file = self.outside(path)
        file.parent.mkdir(parents=True, exist_ok=True)
        # A tool may be a hard link to this machine's.
        file.unlink(missing_ok=True)
        file.write_text(text, encoding="utf-8")
        file.chmod(mode)

    def run(self, *command, status=0, **environment):
        environment = {"PATH": "/bin:/usr/bin", "HOME": HOME, **environment}
        self.words = self.words or words_to_enter(self.root)
        return run(*self.words, *command, status=status, env=environment, stdin=subprocess.DEVNULL)

    def inspect(self, *arguments, status=0):
        return self.run("/usr/local/bin/InstallInspector", *arguments, status=status)

    def status(self):
        return json.loads(self.inspect("status", "--json", "--verify", status=None).stdout)

    def builds(self):
        return {product["ID"]: product["build"] for product in self.status()["products"]}

    def files(self):
        """All that is there, with kind, mode and content, but for what runs leave where anything may be left."""
        found = {}
        for folder, folders, names in os.walk(self.root):
            inside = "/" + os.path.relpath(folder, self.root).removeprefix(".")
            if inside == "/":
                folders[:] = [name for name in folders if name not in ("proc", "dev", "tmp")]
            for name in folders + names:
                path = os.path.join(folder, name)
                found[os.path.join(inside, name)] = (os.lstat(path).st_mode, content_of(path))
        return found

    def left_in_tmp(self):
        return os.listdir(self.outside("/tmp"))


class Fleet:
    def __init__(self, folder, build):
        self.folder = folder
        self.build = build
        self.bundle = build / "InstallUtility.app"
        self.inspector = build / "bin/InstallInspector"
        self.hosts = {}
        self.model = self.make_model()

    def make_model(self):
        model = Host(self.folder / "model", self.build)
        run(PRIVATE_ROOT, "make", model.root)
        for tool in TOOLS:
            run(PRIVATE_ROOT, "add", model.root, shutil.which(tool), "/bin/" + tool)
        run(PRIVATE_ROOT, "add", model.root, self.inspector, "/usr/local/bin/InstallInspector")
        # For the libraries; each package brings its own engine.
        run(PRIVATE_ROOT, "add", model.root, self.bundle / "Contents/MacOS/InstallUtility", "/tmp/InstallUtility")
        model.outside("/tmp/InstallUtility").unlink()
        model.outside("/var/tmp").mkdir(mode=0o1777)
        return model

    def add(self, name, *folders):
        host = Host(self.folder / name, self.build)
        # The files are shared, as those of a private root are with this machine: nobody writes into one that is there.
        run("cp", "-al", self.model.root, host.root)
        for folder in folders:
            host.outside(folder).mkdir(parents=True)
        host.words = words_to_enter(host.root)
        self.hosts[name] = host
        return host

    def package(self, product, build=None, edit=None):
        """The scripts folder of a package, of another build if one is given: a folder and an archive."""
        name = f"{product}-{build}" if build else product
        scripts = self.folder / "packages" / name
        shutil.copytree(EXAMPLES / product, scripts / "product", symlinks=True)
        if build:
            definition = scripts / "product/sku.xml"
            text = definition.read_text(encoding="utf-8")
            definition.write_text(re.sub(r'(<sku .*build=")[^"]*', r"\g<1>" + build, text, count=1), encoding="utf-8")
            if edit:
                edit(scripts / "product/files")
                run(self.inspector, "update", definition, "--source", scripts / "product/files")
        shutil.copytree(self.bundle, scripts / "InstallUtility.app", symlinks=True)
        shutil.copy(EXAMPLES / "packaging/postinstall", scripts)
        archive = self.folder / "packages" / (name + ".tar.gz")
        with tarfile.open(archive, "w:gz", compresslevel=1) as tar:
            for path in scripts.iterdir():
                tar.add(path, path.name)
        return scripts, archive

    @staticmethod
    def install(host, scripts):
        """As the package does it without device management."""
        shutil.copytree(scripts, host.outside("/tmp/package"), symlinks=True)
        host.run("/tmp/package/postinstall", "a.pkg", "/", "/", "/", UNATTENDED_HOME=HOME)
        shutil.rmtree(host.outside("/tmp/package"))


def build_of(product):
    return re.search(r'<sku .*build="([^"]*)"', (EXAMPLES / product / "sku.xml").read_text(encoding="utf-8")).group(1)


def property_lists(folder):
    return {path.name: plistlib.loads(path.read_bytes()) for path in sorted(folder.glob("*.plist"))}
