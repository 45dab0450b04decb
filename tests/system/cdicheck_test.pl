#!/usr/bin/perl
# Damages a good image, in the disc's folder, in its ISO image or in itself, and reads what the checker says.
# Usage: cdicheck_test.pl BIN_FOLDER HELLO.ELF CORPUS_FOLDER
use strict;
use warnings;
use Cwd qw(abs_path);
use File::Temp qw(tempdir);
use Test::More;

my ($bin, $elf, $corpus) = map { abs_path($_) } @ARGV;
my $root = tempdir(CLEANUP => 1);
chdir $root or die $!;

sub slurp { open my $f, '<:raw', $_[0] or die "$_[0]: $!"; local $/; <$f> // '' }
sub spew { my ($path, $text) = @_; open my $f, '>:raw', $path or die "$path: $!"; print $f $text }
sub output_of { my $text = qx{$_[0] 2>&1}; ($? >> 8, $text) }

system('sh-elf-objcopy', '-O', 'binary', '-R', '.stack', $elf, 'plain') == 0 or die;
system("$bin/scramble", 'plain', 'scrambled') == 0 or die;
my $header = pack 'A16 A16 A16 A8 A8 A10 A6 A16 A16 A16 A128', 'SEGA SEGAKATANA', 'SEGA ENTERPRISES', 'B6D8 CD-ROM1/1', 'JUE',
    'E000010', 'T0000', 'V1.000', '20260101', '1ST_READ.BIN', 'Test', 'Test';
my $boot = $header . substr slurp("$bin/IP.TMPL"), 256;

# An image of a folder with these files, and of an ISO image that $damage has changed.
sub image {
    my ($files, $ip, $damage, @mkisofs) = @_;
    system 'rm', '-rf', 'disc';
    mkdir $_ for 'disc', 'disc/sub';
    spew("disc/$_", $files->{$_}) for keys %$files;
    spew('ip', $ip);
    @mkisofs = ('-C', '0,11702') if !@mkisofs;
    system("mkisofs -quiet -G ip @mkisofs -l -V Test -o iso disc 2>/dev/null") == 0 or die;
    my $iso = slurp('iso');
    $damage->() for $iso;
    spew('iso', $iso);
    system("$bin/cdi4dc", 'iso', 'image.cdi') == 0 or die;
    return slurp('image.cdi');
}
sub says {
    my ($image, $name, $status, $said) = @_;
    spew('checked.cdi', $image);
    my ($found, $text) = output_of("$bin/cdicheck checked.cdi");
    is $found, $status, $name;
    like $text, $said;
    is scalar(() = $text =~ /^(?:error|warning):/mg), $status == 1 ? 1 : 0, 'and nothing else';
}

my %disc = ('1ST_READ.BIN' => slurp('scrambled'), 'sub/data.txt' => 'x');
my $as_it_is = sub { };
my $good = image(\%disc, $boot, $as_it_is);
my $sectors = 1413504;
my $descriptor = length($good) - unpack 'V', substr $good, -4;
my $name = length 'image.cdi';
my $track = $descriptor + 1 + 15 + 236 + $name + 15 + $name;  # the second track's block, fields as if without the name

subtest 'a good image' => sub {
    says($good, 'text', 0, qr/2 sessions.*boot file: 1ST_READ.BIN.*Volume "Test"\n  1ST_READ.BIN  932 bytes\n  SUB\/DATA.TXT.*No problems/s);
    my ($status, $json) = output_of("$bin/cdicheck --json checked.cdi");
    is $status, 0;
    like $json, qr/"problems": \[\].*"start": 11702.*"volume": "Test"/s;
};

subtest 'a damaged file' => sub {
    my $flip = sub { my ($image, @at) = @_; substr($image, $_, 1) ^= "\x01" for @at; $image };
    says(substr($good, 0, -1000), 'its end', 1, qr/truncated/);
    says($flip->($good, $sectors + 2336 * 60 + 1000, $sectors + 2336 * 70 + 8), 'two bytes', 1,
        qr/2 sectors have a wrong .* LBA 11762:/);
    says($flip->($good, $sectors + 2336 * 60 + 2100), 'P parity', 1, qr/1 sector has a wrong/);
    says($flip->($good, $sectors + 2336 * 60 + 2335), 'Q parity', 1, qr/1 sector has a wrong/);
    my ($longer, $shorter) = ($good, $good);
    substr($longer, $descriptor, 0) = "\0" x 2336;
    says($longer, 'more than the tracks', 1, qr/2336 bytes belong to no track/);
    substr($shorter, $descriptor - 2336, 2336) = '';
    says($shorter, 'less than the tracks', 1, qr/too short for the tracks/);
    my $audio = $good;
    substr($audio, $track + 64, 4) = pack 'V', 0;
    says($audio, 'no data track', 1, qr/no data track/);
    my $total = $good;
    substr($total, $track + 50, 4) = pack 'V', 151;
    spew('checked.cdi', $total);
    like +(output_of("$bin/cdicheck checked.cdi"))[1], qr/length is not that of its parts/;
};

subtest 'a disc that does not boot' => sub {
    my $with = sub { my %files = (%disc, @_); image(\%files, $boot, $as_it_is) };
    my $named = sub { $header =~ s/1ST_READ.BIN/$_[0]/r . substr $boot, 256 };
    says(image(\%disc, $boot, $as_it_is, '-J'), 'the wrong address', 1, qr/mkisofs -C 0,11702/);
    says(image(\%disc, "\0" x 32768, $as_it_is), 'no boot header', 1, qr/no boot header/);
    says(image(\%disc, $boot =~ s/B6D8/B6D9/r, $as_it_is), 'check value', 1, qr/is B6D9, but .* make it B6D8/);
    says(image(\%disc, $named->('2ND_READ.BIN'), $as_it_is), 'boot file missing', 1, qr/names 2ND_READ.BIN, but no such file/);
    says(image(\%disc, $named->('DATA.TXT    '), $as_it_is), 'boot file in a folder', 1, qr/lies in a folder \(SUB\/DATA.TXT\)/);
    says(image(\%disc, $named->('1st_read.bin'), $as_it_is), 'boot file in small letters', 1, qr/capitals included/);
    says($with->('1ST_READ.BIN', "\0" x 0xFF0001), 'too large', 1, qr/16711681 bytes, but the console has room for 16711680/);
    says($with->('1ST_READ.BIN', ''), 'empty', 1, qr/is empty/);
    says($with->('1ST_READ.BIN', slurp('plain')), 'unscrambled', 1, qr/is not scrambled/);
    says($with->('1ST_READ.BIN', slurp($elf)), 'an ELF file', 1, qr/ELF file/);
    says($with->('1ST_READ.BIN', 'Once upon a time there was a console. ' x 400), 'no code', 1, qr/does not look like a program/);
    says(image(\%disc, $header . "\0" x 32512, $as_it_is), 'a body of zeros', 1, qr/without an IP.TMPL/);
    says(image(\%disc, $header . "\xFF" x 32512, $as_it_is), 'a body without a start', 1, qr/no code at offset 0x300/);
};

subtest 'anything at all' => sub {
    says($_, 'no image', 2, qr/^cdicheck: checked.cdi: no DiscJuggler image: /) for '', 'x', 'x' x 2000, "\0" x 8 . pack 'V V', 0x80000006, 8;
    says(substr($good, 0, -8) . pack('V V', 0x80000006, 0xFFFFFFFF), 'a descriptor of 4 GiB', 1, qr/truncated/);
    is +(output_of("$bin/cdicheck nowhere.cdi"))[0], 2;
    my @corpus = glob "$corpus/*.cdi";
    is scalar(@corpus), 12;
    for (@corpus) {
        my ($status, $text) = output_of("$bin/cdicheck $_");
        is $status, 0, $_;
        like $text, qr/No problems/;
    }
};

done_testing;
