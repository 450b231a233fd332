# The Homebrew formula, without Homebrew: stand-ins take what it says and run what they can.
#
# usage: ruby FormulaTest.rb BUILD SOURCE    BUILD: a build folder of this project that is up to date
require "minitest/autorun"
require "pathname"
require "tmpdir"

BUILD = Pathname(ARGV[0]).realpath
SOURCE = Pathname(ARGV[1]).realpath

module Hardware
  class CPU
    def self.arch = :arm64
  end
end

class Formula
  class << self
    attr_reader :said, :depends, :test_block

    %i[desc homepage url sha256].each do |name|
      define_method(name) { |text| (@said ||= {})[name] = text }
    end

    def depends_on(what)
      (@depends ||= []) << (what.is_a?(Hash) ? what.keys.first : what)
    end

    def test(&block)
      @test_block = block
    end
  end

  attr_reader :prefix, :commands

  def initialize(prefix)
    @prefix = prefix
    @commands = []
  end

  def bin = prefix/"bin"
  def share = prefix/"share"
  def libexec = prefix/"libexec"
  def std_cmake_args = ["-DCMAKE_INSTALL_PREFIX=#{prefix}", "-DCMAKE_BUILD_TYPE=Release"]

  def system(*words)
    words = words.map(&:to_s)
    @commands << words
    raise "#{words} failed" unless run(words)
  end

  def assert_predicate(object, question)
    raise "#{object} is not #{question}" unless object.public_send(question)
  end

  # Compiles nothing: what is built already stands for what the formula would build.
  def run(words)
    case words
    in ["cmake", "-S", ".", "-B", "build", *] | ["cmake", "--build", "build"] then true
    in ["cmake", "--install", "build"]
      Kernel.system("cmake", "--install", BUILD.to_s, "--prefix", prefix.to_s, out: File::NULL)
    else Kernel.system(*words, out: File::NULL)
    end
  end
end

require SOURCE/"Examples/packaging/installutility.rb"

class FormulaTest < Minitest::Test
  def test_it_says_what_homebrew_asks_for
    said = Installutility.said
    assert_operator said[:desc].size, :<=, 80
    refute_match(/\A(a|an|the) |\.\z/i, said[:desc])
    assert_match(/\Ahttps:/, said[:homepage])
    assert_includes said[:url], "installutility-#{version}.tar.gz"
    assert_match(/\A\h{64}\z/, said[:sha256])
  end

  def test_it_needs_what_the_project_installs_on_a_mac
    packages = (SOURCE/"Scripts/bootstrap").read[/^homebrew_packages='(.*)'/, 1].split
    assert_equal (packages - %w[googletest google-benchmark]).sort, Installutility.depends.sort
  end

  def test_it_sets_options_that_there_are
    formula = Installutility.new(Pathname("/nowhere"))
    def formula.run(_words) = true
    formula.install
    set = formula.commands.first.filter_map { |word| word[/\A-D(INSTALLUTILITY_\w+)=/, 1] }
    refute_empty set
    set.each { |option| assert_match(/^option\(#{option} /, (SOURCE/"CMakeLists.txt").read) }
  end

  def test_what_it_installs_passes_its_own_test
    Dir.mktmpdir do |folder|
      formula = Installutility.new(Pathname(folder))
      formula.install
      formula.instance_eval(&Installutility.test_block)
      assert_equal 4, formula.commands.size
    end
  end

  private

  def version = (SOURCE/"CMakeLists.txt").read[/^project\(InstallUtility VERSION (\S+)/, 1]
end
