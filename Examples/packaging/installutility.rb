# A Homebrew formula for Macs that build and check products. Put it into a tap of your own, and write address and
# checksum of your release into it. "brew audit --new installutility" and "brew test installutility" check it there.
class Installutility < Formula
  desc "Installation engine for plug-ins, and the tool that checks its products"
  homepage "https://vorlane.com/installutility"
  url "https://vorlane.com/downloads/installutility-1.0.0.tar.gz"
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"

  depends_on "cli11" => :build
  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "nlohmann-json" => :build
  depends_on "pkg-config" => :build
  depends_on "tinyxml"
  depends_on "utf8proc"

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja",
           "-DCMAKE_OSX_ARCHITECTURES=#{Hardware::CPU.arch}",
           "-DINSTALLUTILITY_BENCHMARKS=OFF",
           "-DINSTALLUTILITY_FUZZ=OFF",
           "-DINSTALLUTILITY_TESTS=OFF",
           *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    ink = share/"InstallUtility/Examples/Ink"
    system bin/"InstallInspector", "check", ink/"sku.xml", ink/"target_path.xml", "--source", ink/"files"
    assert_predicate libexec/"InstallUtility.app/Contents/MacOS/InstallUtility", :executable?
  end
end
