#!/usr/bin/perl
# Reads an image back without any code of its writer: lays out the whole descriptor once more, recomputes the
# EDC of each sector bit by bit, and evaluates the Reed-Solomon syndromes of P and Q, which must all be zero.
# Usage: read_cdi.pl IMAGE.cdi ISO: prints what it found and writes the data track's user data to ISO.
use strict;
use warnings;

my ($image_path, $iso_path) = @ARGV;
open my $file, '<:raw', $image_path or die "$image_path: $!\n";
my $image = do { local $/; <$file> };

# The descriptor, for the track length that the image itself has.
my $descriptor_length = unpack 'V', substr $image, -4;
my $data_length = (length($image) - $descriptor_length - 1413504) / 2336;
die "$image_path: the tracks do not fill the image\n" if $data_length != int $data_length || $data_length < 17;
my $name = $image_path =~ s{.*/}{}sr;
my $volume = substr $image, 1413504 + 16 * 2336 + 8 + 40, 32;

sub session { pack 'x C x7 V v', $_[0], 1, 0xFFFF }
sub header { pack 'v x2 V V x3 C C/a* x11 C x10 C V x2 v', 0xFFFF, 1, 0xFFFFFFFF, 2, $name, 2, 0x80, 360000, 0x98 }
sub track {
    my ($mode, $session, $start, $length, $sector_size, $control, $session_type) = @_;
    return header() . pack 'v V3 x2 V x4 V4 x16 V2 x V x21 V7 x42 V x12 C x7 V',
        2, 150, $length, 0, $mode, $session, 0, $start, 150 + $length, $sector_size, $control, 150 + $length,
        0xFFFFFFFF, 0xFFFFFFFF, 1, 0x80, 2, 0x10, 44100, 0xFF, $session_type, $start + $length;
}
my $expected = "\2" . session(1) . track(0, 0, 0, 302, 2, 0, 0) . session(1)
    . track(2, 1, 11702, $data_length, 1, 4, 2) . session(0) . header()
    . pack 'V C/a* x V V x13 V V x8 V V', 11702 + $data_length, $volume, 1, 1, 0, 0, 0x80000006, $descriptor_length;
die "$image_path: the descriptor is not as it should be\n" if substr($image, -$descriptor_length) ne $expected;
die "$image_path: the audio track and the pregaps are not silent\n" if substr($image, 0, 1413504) =~ /[^\0]/;

# GF(256) by logarithms: $weight[$exponent][$byte] is the byte times x to the power of the exponent.
my (@power, @logarithm);
for (my ($value, $i) = (1, 0); $i < 255; ++$i) {
    ($power[$i], $logarithm[$value]) = ($value, $i);
    $value <<= 1;
    $value ^= 0x11D if $value > 255;
}
my @weight = map { my $e = $_; [0, map { $power[($logarithm[$_] + $e) % 255] } 1 .. 255] } 0 .. 44;
my @edc = map { my $e = $_; $e = $e & 1 ? $e >> 1 ^ 0xD8018001 : $e >> 1 for 1 .. 8; $e } 0 .. 255;

sub is_code_word {
    my ($sum, $weighted, $exponent) = (0, 0, scalar @_);
    for (@_) { $sum ^= $_; $weighted ^= $weight[--$exponent][$_] }
    return !$sum && !$weighted;
}
my @p_words = map { my $column = $_; [map { 86 * $_ + $column } 0 .. 25] } 0 .. 85;
my @q_words = map {
    my ($n, $byte) = ($_ >> 1, $_ & 1);
    [(map { 2 * ((44 * $_ + 43 * $n) % 1118) + $byte } 0 .. 42), 2236 + $_, 2288 + $_]
} 0 .. 51;

open my $iso, '>:raw', $iso_path or die "$iso_path: $!\n";
for my $number (0 .. $data_length - 1) {
    my $sector = substr $image, 1413504 + 2336 * $number, 2336;
    die "sector $number: subheader\n" if substr($sector, 0, 8) ne "\0\0\x08\0\0\0\x08\0";
    my $edc = 0;
    $edc = $edc >> 8 ^ $edc[($edc ^ $_) & 0xFF] for unpack 'C2056', $sector;
    die "sector $number: EDC\n" if $edc != unpack 'V', substr $sector, 2056, 4;
    my @area = unpack 'C*', "\0\0\0\0$sector";
    is_code_word(@area[@$_]) or die "sector $number: P parity\n" for @p_words;
    is_code_word(@area[@$_]) or die "sector $number: Q parity\n" for @q_words;
    print $iso substr $sector, 8, 2048;
}
close $iso or die "$iso_path: $!\n";
print "$name: audio 302 sectors at 0, data $data_length sectors at 11702, volume \"", $volume =~ s/ +$//r,
    "\", EDC and ECC correct\n";
