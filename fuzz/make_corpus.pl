#!/usr/bin/perl
# Makes the fuzzer's first inputs: small images of each version, with sectors of 2048 and of 2336 bytes, of a
# volume with a folder and a boot file. Usage: make_corpus.pl BIN_FOLDER EXAMPLE.ELF CORPUS_FOLDER
use strict;
use warnings;
use File::Temp qw(tempdir);

my ($bin, $elf, $corpus) = @ARGV;
my $root = tempdir(CLEANUP => 1);
sub slurp { open my $f, '<:raw', $_[0] or die "$_[0]: $!"; local $/; <$f> }
sub spew { my ($path, $text) = @_; open my $f, '>:raw', $path or die "$path: $!"; print $f $text }

mkdir "$root/$_" for 'disc', 'disc/levels';
system('sh-elf-objcopy', '-O', 'binary', '-R', '.stack', $elf, "$root/plain") == 0 or die;
system("$bin/scramble", "$root/plain", "$root/disc/1ST_READ.BIN") == 0 or die;
spew("$root/disc/levels/one.txt", 'x');
my $header = pack 'A16 A16 A16 A8 A8 A10 A6 A16 A16 A16 A128', 'SEGA SEGAKATANA', 'SEGA ENTERPRISES', 'B6D8 CD-ROM1/1', 'JUE',
    'E000010', 'T0000', 'V1.000', '20260101', '1ST_READ.BIN', 'Corpus', 'Corpus';
spew("$root/ip", $header . substr slurp("$bin/IP.TMPL"), 256);
system("mkisofs -quiet -no-pad -G $root/ip -C 0,11702 -l -V Corpus -o $root/iso $root/disc 2>/dev/null") == 0 or die;
my $iso = slurp("$root/iso");
system("$bin/cdi4dc", "$root/iso", "$root/cdi") == 0 or die;
my $sectors = length($iso) / 2048;
my $stored = substr slurp("$root/cdi"), 1413504, 2336 * $sectors;

# Two sessions of one track, the first of them empty. In version 2 a track ends early, and between two sessions a
# byte less stands; a header of older writers lacks the capacity.
sub descriptor {
    my ($version, $old_header, $size_code) = @_;
    my $head = pack('v x2 V V x3 C C/a* x11 C', 0xFFFF, 1, 0xFFFFFFFF, 2, 'corpus.cdi', 2)
        . ($old_header ? pack 'x11' : pack 'x10 C V x2 v', 0x80, 360000, 0x98);
    my $all = pack 'C', 2;
    for my $track ([0, 0, 0, 2, 0], [2, 1, $sectors, $size_code, 4]) {
        my ($mode, $session, $length, $size, $control) = @$track;
        my $start = $session ? 11702 : 0;
        my $body = pack 'v V3 x2 V x4 V4 x16 V2 x V x20', 2, 0, $length, 0, $mode, $session, 0, $start, $length, $size,
            $control, $length;
        my $tail = pack 'x C8 V5 x42 V x12', (255) x 8, 1, 0x80, 2, 0x10, 44100, 255;
        my $last = pack 'C x7 V', $mode, $start + $length;
        my $block = pack 'x C x7 V v', 1, 1, 0xFFFF;
        $block = substr $block, 1 if $version == 2 && $session;
        $all .= $block . $head . $body . ($version == 2 ? $last : $tail . $last);
    }
    return $all . pack('x2 x7 V v', 1, 0xFFFF) . $head;
}
for my $version (2, 3, 3.5) {
    for my $old_header (0, 1) {
        for ([0, $iso, 2048], [1, $stored, 2336]) {
            my ($size_code, $data, $size) = @$_;
            my $number = {2 => 0x80000004, 3 => 0x80000005, 3.5 => 0x80000006}->{$version};
            my $descriptor = descriptor($version, $old_header, $size_code) . pack 'V', $number;
            my $place = $version == 3.5 ? 4 + length $descriptor : length $data;
            spew("$corpus/version-$version-" . ($old_header ? 'old' : 'new') . "-$size.cdi", $data . $descriptor . pack 'V', $place);
        }
    }
}
