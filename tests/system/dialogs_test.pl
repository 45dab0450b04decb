#!/usr/bin/perl
# Drives the dialogs of the built executable by the keyboard, on a virtual display. With PICTURES=FOLDER in the
# environment it takes a picture of each.
# The display is its own, so that no key goes astray; MARROWVANE_TEST_DISPLAY says that the present one is for tests.
# Usage: dialogs_test.pl MARROWVAN STAND_IN [WINE]
use strict;
use warnings;
use Cwd qw(abs_path);
use File::Copy qw(copy);
use File::Temp qw(tempdir);
use Test::More;
use Time::HiRes qw(sleep);

exec 'xvfb-run', '-a', '-s', '-screen 0 1100x960x24', $^X, $0, @ARGV
    if !$ENV{MARROWVANE_TEST_DISPLAY} && ($ENV{MARROWVANE_TEST_DISPLAY} = 1);
delete $ENV{WAYLAND_DISPLAY};

my ($marrowvan, $stand_in, $wine) = @ARGV;
my $exe = $wine ? '.exe' : '';
my ($ask_folder, $ask_file) = $wine
    ? ('Browse for Folder', 'Save your DiscJuggler file as...')
    : ('Choose the folder to selfboot...', 'Save your DiscJuggler file as...');

# On Windows the folder stands where a few keys lead: in the root of the drive C.
my $drive = $wine && abs_path(qx{$wine winepath -u 'C:\\' 2>/dev/null} =~ s/[\r\n]+$//r);
my $root = tempdir(CLEANUP => 1, $wine ? (DIR => $drive) : ());
my $game = $wine ? "$drive/zz caf\xC3\xA9 game" : "$root/zz caf\xC3\xA9 game";
my $cdi = "$root/out caf\xC3\xA9.cdi";

sub host { my ($path) = @_; $wine ? 'C:' . substr($path, length $drive) =~ tr{/}{\\}r : $path }
sub prepare {
    system 'rm', '-rf', $game, "$root/app", $cdi;
    mkdir $_ or die "$_: $!" for $game, "$root/app";
    copy($marrowvan, "$root/app/marrowvan$exe") or die $!;
    copy($stand_in, "$root/app/$_$exe") or die $! for qw(sh-elf-objcopy scramble mkisofs cdi4dc);
    chmod 0755, glob "$root/app/*";
    open my $elf, '>:raw', "$game/demo.elf" or die $!;
    print $elf "\x7FELF";
}
sub shown { my ($title) = @_; my ($id) = qx{xdotool search --onlyvisible --name '^\Q$title\E\$' 2>/dev/null}; return $id }
sub wait_until { my ($true) = @_; for (1 .. 300) { my $is = $true->(); return $is if $is; sleep 0.1 } return }
sub press { sleep 0.1, system 'xdotool', 'key', '--clearmodifiers', $_ for @_ }
sub type { system 'xdotool', 'type', '--clearmodifiers', '--delay', '40', $_[0] }
sub picture { system 'import', '-window', 'root', "$ENV{PICTURES}/" . ($wine ? 'windows' : 'linux') . "-$_[0].png" if $ENV{PICTURES} }

# Waits for a dialog, and has it take the keys.
sub dialog {
    my ($title, $name) = @_;
    my $id = wait_until(sub { shown($title) });
    ok $id, "the dialog \"$title\" shows";
    sleep 0.7;
    system 'xdotool', 'windowfocus', '--sync', $id =~ s/\s+//r if !$wine;
    picture($name);
}

# The usage message has an empty caption; it is the only window of the program then.
sub dismiss_usage {
    my $shows = sub { grep { /^\s+0x\w+ .*marrowvan|zenity/i && !/ (?:1x1|10x10)\+/ } qx{xwininfo -root -tree} };
    ok wait_until(sub { $shows->() && !shown($ask_folder) && !shown($ask_file) }), 'the usage message shows';
    sleep 0.7;
    picture('usage');
    if (!$wine) { my ($id) = qx{xdotool search --onlyvisible --class zenity}; system 'xdotool', 'windowfocus', '--sync', $id =~ s/\s+//r }
    press('Return');
}

sub start {
    my $process = fork // die $!;
    return $process if $process;
    open STDIN, '<', '/dev/null';
    open STDERR, '>', '/dev/null' if !$ENV{PICTURES};
    @ENV{qw(TMPDIR GSETTINGS_BACKEND)} = ($root, 'memory');
    chdir $root;
    exec $wine ? ($wine, host("$root/app/marrowvan.exe")) : "$root/app/marrowvan";
}
sub status_of { waitpid $_[0], 0; return $? >> 8 }

sub choose_folder {
    if ($wine) {  # from the desktop to "My Computer", to the drive C, to the folder by its first letters
        press('shift+Tab') for 1;
        press(qw(Home Down Down Down Right Down Right));
        sleep 0.5;
        type('zz');
        sleep 0.3;
        picture('folder-chosen');
        press('Return');
    } else {
        type('/');
        sleep 0.5;
        type(substr "$game", 1);
        sleep 0.5;
        press('Return');
    }
}
sub name_file {
    press('ctrl+a') if !$wine;
    type(host($cdi));
    sleep 0.5;
    picture('file-named');
    press('Return');
}

subtest 'no options: a folder, a file, and the build runs' => sub {
    prepare();
    my $process = start();
    dialog($ask_folder, 'folder');
    choose_folder();
    dialog($ask_file, 'file');
    name_file();
    is status_of($process), 0;
    ok -e $cdi, 'the image is there';
    ok -e "$game/1ST_READ.BIN", 'of the program in the folder';
};

subtest 'cancelling' => sub {
    prepare();
    my $process = start();
    dialog($ask_folder, 'folder');
    press('Escape');
    dismiss_usage();
    is status_of($process), 1, 'the first dialog ends the run';

    $process = start();
    dialog($ask_folder, 'folder');
    choose_folder();
    dialog($ask_file, 'file');
    press('Escape');
    dismiss_usage();
    is status_of($process), 1, 'and so does the second';
    ok -e "$game/demo.elf" && !-e $cdi, 'nothing was touched';
};

system 'rm', '-rf', $game;
done_testing;
